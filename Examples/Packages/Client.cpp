#include <Corvane/Corvane.hpp>
#include <cstdio>

struct User {
  std::int64_t id;
  std::string login;
  std::optional<std::string> name;
};

struct GetUser : corvane::JSONGetRequestable<GetUser, User> {
  corvane::URL baseURL = "http://127.0.0.1:8080";
  std::int64_t id = 7;
  std::string path() const { return "/users/" + std::to_string(id); }
  corvane::HTTPHeaders sharedHeaders() const { return {{"X-App", "Client"}}; }
};

// Asks the server at the address given for a user, and prints the name.
int main(int argc, char** argv) try {
  GetUser request;
  if (argc > 1) request.baseURL = argv[1];
  const User user = request.send().get().body;
  std::printf("%s is %s\n", user.login.c_str(), user.name.value_or("somebody").c_str());
} catch (const corvane::Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
