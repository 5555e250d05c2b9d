// From nothing to a typed request: describes a call of a web service, sends it, and handles what goes wrong.
//
//   example_GettingStarted http://127.0.0.1:8080

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
  std::optional<std::string> name;
};

struct GetUser : JSONGetRequestable<GetUser, User> {
  URL baseURL;
  std::int64_t id = 0;

  std::string path() const { return "/users/" + std::to_string(id); }
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Greeter"}}; }
};

struct NewUser {
  std::string login;
};

struct AddUser : JSONPostRequestable<AddUser, User, NewUser> {
  URL baseURL;
  NewUser body;

  static constexpr const char* path = "/users";
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Greeter"}}; }
};

int main(int argc, char** argv) try {
  const URL server(argc > 1 ? argv[1] : "http://127.0.0.1:8080");

  const User user = GetUser{.baseURL = server, .id = 7}.send().get().body;
  std::printf("%s is %s\n", user.login.c_str(), user.name.value_or("somebody").c_str());

  const User added = AddUser{.baseURL = server, .body = {.login = "grace"}}.send().get().body;
  std::printf("%s has the id %jd\n", added.login.c_str(), added.id);
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
