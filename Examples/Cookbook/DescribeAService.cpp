#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::string login;
};

// What all calls of the service have in common.
template <class Self, class Body>
struct Call : JSONGetRequestable<Self, Body> {
  static inline URL service = "http://127.0.0.1:8080";
  URL baseURL() const { return service; }
  HTTPHeaders sharedHeaders() const { return {{"X-Application", "Cookbook"}}; }
};
struct GetUser : Call<GetUser, User> {
  int number = 0;
  std::string path() const { return "/users/" + std::to_string(number); }
};

int main(int, char** argv) {
  GetUser::service = URL(argv[1]);
  GetUser request;
  request.number = 7;
  std::printf("%s\n", request.send().get().body.login.c_str());
}
