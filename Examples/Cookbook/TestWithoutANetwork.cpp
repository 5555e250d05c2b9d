#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/MockNetwork.hpp>
#include <cstdio>

using namespace corvane;
using namespace corvane::testkit;

struct User {
  std::int64_t id;
  std::string login;
};

std::string nameOf(int number) {
  const JSONGetRequest<User> request("https://users.example.com/users/" + std::to_string(number));
  const auto result = request.send().result();
  return result ? result.value()->body.login : "unknown";
}

int main() {
  MockNetwork network;  // the requests stay as they are
  network.on("GET https://users.example.com/users/*").respond(NetworkResponse(404));
  network.on("GET https://users.example.com/users/7").respond(NetworkResponse().json(User{.id = 7, .login = "ada"}));

  std::printf("%s\n", nameOf(7).c_str());
  std::printf("%s\n", nameOf(8).c_str());
  std::printf("%s\n", network.requests().at(0).description().c_str());
}
