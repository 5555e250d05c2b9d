// Sends forms as browsers do: names and values, and a form with a file.
//
//   example_Forms URL FILE

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct Search {
  std::string words;
  int page;
  std::optional<std::string> language;
};

struct SendReport : FormDataUploadRequestable<SendReport, DataResponse> {
  std::string title;
  URL file;
  URL url;

  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPFormData body() const { return {{"title", title}, {"visits", file, {.contentType = HTTPMediaType::textPlain}}}; }
};

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  const URL url(argv[1]);

  const DataFormPostRequest byItems(url, {{"words", "Ada Lovelace"}, {"page", 2}});
  std::printf("%s\n", byItems.send().get().body.text().c_str());

  const Search search{.words = "Müller & Söhne", .page = 1, .language = std::nullopt};
  const DataFormPostRequest byModel(url, HTTPFormBody::of(search));
  std::printf("%s\n", byModel.send().get().body.text().c_str());

  const SendReport report{.title = "Visits", .file = URL::file(argv[2]), .url = url};
  const Data received = report.send().get().body;
  std::printf("the form has %zu bytes\n", received.count());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
