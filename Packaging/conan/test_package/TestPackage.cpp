#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/CorvaneTesting.hpp>
#include <cstdio>

struct User {
  std::int64_t id;
  std::string name;
};

// Sends a typed request to a server of its own, and prints a field of the response.
int main() try {
  corvane::testkit::TestServer server;
  server.enqueue(corvane::testkit::MockResponse(200).json(R"({"id": 7, "name": "Ada Lovelace"})"));
  const User user = corvane::JSONGetRequest<User>(server.url("/users/7")).send().get().body;
  std::printf("user %d is %s\n", static_cast<int>(user.id), user.name.c_str());
} catch (const corvane::Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
