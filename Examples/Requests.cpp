// Describes requests in every way, and prints what would be sent; nothing is.

#include <Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp>
#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

// What all calls of one service have in common.
template <class Self>
struct LibraryRequest {
  static constexpr const char* baseURL = "https://api.example.com/v1";
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Reader"}, {"X-Version", 3}}; }
};

struct FindBooks : LibraryRequest<FindBooks>, DataGetRequestable<FindBooks> {
  std::string author;                                                              // the type's own
  double timeoutInterval = 10;                                                     // stored
  static constexpr const char* path = "/books";                                    // static
  HTTPQueryItems queryItems() const { return {{"author", author}, {"page", 2}}; }  // computed
  using LibraryRequest<FindBooks>::baseURL;
  using LibraryRequest<FindBooks>::sharedHeaders;
};

struct AddNote : DataPostRequestable<AddNote, std::string> {
  std::string body;
  URL baseURL = "https://api.example.com/v1/";
  std::string path = "notes";
  HTTPMediaType contentType = HTTPMediaType::textPlain;
  HTTPHeaders headers = {{"X-App", "Editor"}};
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Reader"}}; }
};

struct AddLog : DataPostRequestable<AddLog> {
  Data body;
  URL url = "https://api.example.com/v1/logs?day=today";
  std::optional<HTTPContentEncoderType> contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

void print(const URLRequest& request) {
  std::printf("%s %s\n", request.httpMethod.c_str(), request.url.absoluteString().c_str());
  for (const auto& [name, value] : request.allHTTPHeaderFields)
    if (name.starts_with("X-") || name.starts_with("Content-")) std::printf("%s: %s\n", name.c_str(), value.c_str());
  if (request.httpBody) std::printf("%zu bytes\n", request.httpBody->count());
}

int main() {
  print(FindBooks{.author = "Ada & Co"}.urlRequest());
  print(AddNote{.body = "buy tea"}.urlRequest());
  print(AddLog{.body = std::string(10'000, '-')}.urlRequest());
  print(DataGetRequest("https://api.example.com/books", {.queryItems = {{"page", 2}}}).urlRequest());
}
