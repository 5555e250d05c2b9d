// Reads what the server says of a failure: status code, header fields, and a body in JSON (RFC 9457).
//
//   example_ErrorBody http://127.0.0.1:8080/status/429

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <string>

using namespace corvane;

std::string explanation(const Error& error) {
  const HTTPErrorResponse* response = error.response();
  if (!response) return error.message();
  std::string text = "the server says " + std::to_string(response->statusCode());
  if (const auto wait = response->header("Retry-After")) text += ", wait for " + *wait + " s";
  if (const auto problem = decodeError<ProblemDetails>(error)) text += ": " + problem->title.value_or("no title");
  return text;
}

int main(int argc, char** argv) {
  try {
    DataGetRequest(argc > 1 ? argv[1] : "http://127.0.0.1:8080/status/429").send().get();
  } catch (const Error& error) {
    std::printf("%s\n", explanation(error).c_str());
  }
}
