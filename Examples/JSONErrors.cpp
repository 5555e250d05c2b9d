// What one is told when a document does not hold what was asked for: of documents, and of a response.
//
//   example_JSONErrors http://127.0.0.1:8080/users/7

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct Owner {
  std::int64_t id;
};

struct Item {
  std::string name;
  Owner owner;
};

struct Page {
  std::vector<Item> items;
  std::optional<URL> next;
};

void show(const char* document) {
  try {
    JSONDecoder().decode<Page>(Data(document));
  } catch (const DecodingError& error) {
    std::printf("%s\n", error.message().c_str());
  }
}

/// Why there is no value: of a response that could not be decoded, what is wrong in it.
std::string reasonOf(const Error& error) {
  const auto* response = error.as<HTTPResponseError>();
  const bool hasReason = response && response->underlyingError();
  return hasReason ? response->underlyingError()->message() : error.message();
}

void showResponse(const URL& url) {
  const auto result = JSONGetRequest<Page>(url).send().result();
  std::printf("%s\n", result ? "a page" : reasonOf(*result.error()).c_str());
}

int main(int argc, char** argv) {
  show(R"({"items": [{"name": "pen", "owner": {"id": "7"}}]})");
  show(R"({"items": [{"name": "pen", "owner": {}}]})");
  show(R"({"items": [{"name": null, "owner": {"id": 7}}]})");
  show(R"({"items": [{"name": "pen", "owner": {"id": 1e30}}]})");
  show(R"({"items": [], "next": "http://a b/"})");
  show(R"({"items": [{"name": "pen" "owner"}]})");
  show("<html>Too many requests</html>");
  if (argc > 1) showResponse(argv[1]);
}
