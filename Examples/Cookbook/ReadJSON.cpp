#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
  std::optional<std::string> name;  // may be absent
};

int main(int, char** argv) {
  const User user = JSONGetRequest<User>(argv[1] + std::string("users/7")).send().get().body;
  std::printf("%s is number %d\n", user.login.c_str(), static_cast<int>(user.id));
}
