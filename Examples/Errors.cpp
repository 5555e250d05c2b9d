// Tells failures apart: by type and case, by domain and code, and by what to do about them.
//
//   example_Errors http://127.0.0.1:8080

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string email;
};

std::string explanation(const Error& error) {
  if (const auto* responseError = error.as<HTTPResponseError>()) {
    switch (responseError->which()) {
      case HTTPResponseError::Case::unacceptableStatus:
        return "the server says " + std::string(responseError->status()->name());
      case HTTPResponseError::Case::jsonDecoding:
        return "not the JSON that was expected: " + responseError->underlyingError()->message();
      default:
        return error.message();
    }
  }
  if (const auto* network = error.as<CFNetworkErrors>()) {
    if (*network == CFNetworkErrors::cannotConnectToHost()) return "nobody is listening there";
  }
  return error.domain() + " " + std::to_string(error.code()) + ": " + error.message();
}

int main(int argc, char** argv) {
  const std::string server = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";
  const std::string urls[] = {server + "status/503", server + "users/7", "http://127.0.0.1:1/", "ftp://example.com/",
                              "/"};
  std::size_t answered = 0;

  for (const std::string& url : urls) {
    JSONGetRequest<User>(url).send([&](const JSONResponse<User>& response) {
      const char* advice = isTransient(response) ? " (try again)" : "";
      std::printf("%s%s\n", explanation(*response.result.error()).c_str(), advice);
      ++answered;
    });
    const std::size_t sent = answered + 1;
    DispatchQueue::main().runUntil([&] { return answered == sent; });
  }
}
