#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

template <AnyRequest Request>
const char* kindOf(const Request&) {
  if constexpr (AnyHeadRequest<Request>) return "a HEAD";
  if constexpr (AnyGetRequest<Request>) return "a GET";
  if constexpr (AnyPostRequest<Request>) return "a POST";
  if constexpr (AnyPutRequest<Request>) return "a PUT";
  if constexpr (AnyPatchRequest<Request>) return "a PATCH";
  if constexpr (AnyDeleteRequest<Request>) return "a DELETE";
  return "one with a method of its own";
}

template <AnyBodyRequest Request>
std::size_t bytesOfBody(const Request& request) {
  return velisand::asData(request.body()).count();
}

template <class Request>
constexpr bool isForJSON = AnyJSONRequest<Request>;
template <class Request>
constexpr bool isForBytes = AnyDataRequest<Request>;

struct Note : DataPutRequestable<Note> {
  URL url{"http://127.0.0.1/notes/1"};
  HTTPHeaders sharedHeaders() const { return {}; }
  std::string body() const { return "Hello"; }
};

int main() {
  const URL url("http://127.0.0.1/");
  std::printf("%s, %s, %s\n", kindOf(DataGetRequest(url)), kindOf(Note()), kindOf(DataHeadRequest(url)));
  std::printf("%zu bytes\n", bytesOfBody(Note()));
  std::printf("%d %d\n", isForJSON<JSONGetRequest<int>>, isForBytes<Note>);
}
