#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct NewUser {
  std::string login;
  std::vector<std::string> teams;
};
struct User {
  std::int64_t id;
  std::string login;
};

int main(int, char** argv) {
  const NewUser ada{.login = "ada", .teams = {"core"}};
  const User user = JSONPostRequest<User>(argv[1] + std::string("users"), ada).send().get().body;
  std::printf("%s has number %d\n", user.login.c_str(), static_cast<int>(user.id));
}
