#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/MockNetwork.hpp>
#include <cstdio>

using namespace corvane;

/// A type that is the body of requests and of responses: comma-separated numbers.
class Numbers {
 public:
  explicit Numbers(std::vector<int> numbers) : numbers_(std::move(numbers)) {}
  explicit Numbers(const Data& bytes) {
    for (std::size_t at = 0; at < bytes.count(); at = bytes.view().find(',', at) + 1) {
      numbers_.push_back(std::stoi(std::string(bytes.view().substr(at))));
      if (bytes.view().find(',', at) == std::string_view::npos) break;
    }
  }
  Data asData() const {
    std::string text;
    for (const int number : numbers_) text += (text.empty() ? "" : ",") + std::to_string(number);
    return Data(text);
  }
  std::size_t count() const { return numbers_.size(); }

 private:
  std::vector<int> numbers_;
};

struct Point {
  int x, y;
};

static_assert(velisand::DataRepresentable<Numbers> && velisand::DataInitializable<Numbers>);
static_assert(velisand::FileInitializable<Numbers>);  // a download can be one, too
static_assert(velisand::FileRepresentable<URL>);      // an upload can be that file
static_assert(velisand::JSONEncodable<Point> && velisand::JSONDecodable<Point> && velisand::RepresentedByJSON<Point>);
static_assert(!velisand::JSONEncodable<Numbers>);

struct SortNumbers : DataPostRequestable<SortNumbers, Numbers> {
  URL url{"https://numbers.example.com/sort"};
  Numbers body{{3, 1, 2}};
  HTTPMediaType contentType = "text/csv";
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main() {
  testkit::MockNetwork network;
  network.on("POST *").respond(testkit::NetworkResponse().text("1,2,3"));
  network.on("GET *").respond(testkit::NetworkResponse().text("4,5"));
  std::printf("%s\n", SortNumbers().send().get().body.text().c_str());
  std::printf("sent: %s\n", network.requests().at(0).body.text().c_str());

  const DownloadGetRequest<Numbers> download("https://numbers.example.com/all");
  std::printf("%zu numbers\n", download.send().get().body.count());
}
