// Describes a call of a web service as a type: stored and computed properties, a check before it is sent.

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <stdexcept>

using namespace corvane;

struct GetUser : DataGetRequestable<GetUser> {
  std::string login;
  URL baseURL = "http://127.0.0.1:8080/api";
  double timeoutInterval = 10;

  std::string path() const { return "/users/" + login; }
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Example"}, {"X-Version", 3}}; }
  void validate() const {
    if (login.empty()) throw std::invalid_argument("a user has a login");
  }
  using HTTPRequestable::validate;
};

int main() {
  const GetUser request{.login = "ada"};
  std::printf("%s\n", request.curlCommand().c_str());
  const auto result = request.send().result();
  std::printf("%s\n", result ? result.value()->body.text().c_str() : result.error()->message().c_str());
}
