// Asks a server again and again, tells everyone who wants to know, and stops.
//
//   example_Polling http://127.0.0.1:8080/users/1

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
};

struct WatchUser : JSONGetRequestable<WatchUser, User>, HTTPPolling<WatchUser> {
  static inline URL address = "http://127.0.0.1:8080/users/1";
  static constexpr double pollingRate = 0.1;

  URL url() const { return address; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int argc, char** argv) {
  if (argc > 1) WatchUser::address = URL(argv[1]);
  int responses = 0;

  WatchUser::poll([&](const WatchUser&, const JSONResponse<User>& response) {
    ++responses;
    const User* user = response.result.body();
    std::printf("%d: %s\n", responses, user ? user->login.c_str() : response.result.error()->message().c_str());
    if (responses == 3) WatchUser::stopPolling();
  });

  // Handlers are called on the main queue, which this thread drains.
  DispatchQueue::main().runUntil([&] { return !WatchUser::isPolling(); });
  return responses == 3 ? 0 : 1;
}
