#include <Corvane/Corvane.hpp>
#include <cstdio>

struct User {
  std::int64_t id;
  std::string login;
  std::optional<std::string> name;
};

int main(int argc, char** argv) try {
  const char* url = argc > 1 ? argv[1] : "http://127.0.0.1:8080/users/7";
  const User user = corvane::JSONGetRequest<User>(url).send().get().body;
  std::printf("%s is %s\n", user.login.c_str(), user.name.value_or("somebody").c_str());
} catch (const corvane::Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
