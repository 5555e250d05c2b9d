// Downloads what is then read: a JSON model, bytes. The file has served when the value is there, and is gone.
//
//   example_DownloadContent URL-OF-A-USER URL-OF-ANYTHING

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
};

int main(int argc, char** argv) try {
  const URL userURL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/users/7");
  const URL bytesURL(argc > 2 ? argv[2] : "http://127.0.0.1:8080/bytes/300000");

  const User user = DownloadGetRequest<User>(userURL).send().get().body;
  const Data bytes = DownloadGetRequest<Data>(bytesURL).send().get().body;

  std::printf("%s has the id %lld\n", user.login.c_str(), static_cast<long long>(user.id));
  std::printf("%zu bytes\n", bytes.count());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
