#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "SessionTest.hpp"

// What happens without a network is tried in a network namespace of its own (network_namespaces(7)), where nothing
// leads to the server's address until the test gives that address to the loopback interface. Each test runs in a child
// process, since a thread that exists already would stay in the old namespace.

namespace platform {
namespace {

using corvane::testing::Answer;
using corvane::testing::TestServer;

constexpr int notPermitted = 77;

constexpr const char* address = "192.0.2.1";  // for documentation (RFC 5737), so nobody's

void configure(const char* interface, unsigned long command, ifreq request) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  std::strcpy(request.ifr_name, interface);
  if (::ioctl(descriptor, command, &request) != 0) std::abort();
  ::close(descriptor);
}

void enterOwnNetwork() {
  if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) _exit(notPermitted);
  ifreq up{};
  up.ifr_flags = IFF_UP | IFF_RUNNING;
  configure("lo", SIOCSIFFLAGS, up);
}

void bringNetwork() {
  ifreq request{};
  sockaddr_in name{};
  name.sin_family = AF_INET;
  inet_pton(AF_INET, address, &name.sin_addr);
  std::memcpy(&request.ifr_addr, &name, sizeof name);
  configure("lo:1", SIOCSIFADDR, request);
}

/// A server that nothing leads to yet, and sessions that wait or do not.
struct Scene {
  Scene() {
    server.handleAll([](const auto&) { return Answer(200).body("here"); });
  }

  static std::shared_ptr<URLSession> session(bool waits) {
    return URLSession::make({.waitsForConnectivity = waits}, nullptr, DispatchQueue("test.delegate"));
  }
  URLRequest request() const { return URLRequest(URL(server.url("/", address))); }

  TestServer server{corvane::testing::ServerOptions{.addresses = {"0.0.0.0"}}};
  const std::shared_ptr<URLSession> waiting = session(true);
  const std::shared_ptr<URLSession> failing = session(false);
};

/// Ends the child: 0 when all hold, else the number of the first that does not.
[[noreturn]] void exitWith(std::initializer_list<bool> facts) {
  int number = 1;
  for (const bool holds : facts) {
    if (!holds) _exit(number);
    ++number;
  }
  _exit(0);
}

class ConnectivityDeathTest : public testing::Test {
 protected:
  ConnectivityDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

  static bool isPermitted(int status) { return WIFEXITED(status) && WEXITSTATUS(status) != notPermitted; }
  static bool succeeded(int status) {
    if (!isPermitted(status)) {
      std::fputs("Not tried: this machine permits no network namespaces.\n", stderr);
      return true;
    }
    return WEXITSTATUS(status) == 0;
  }
};

TEST_F(ConnectivityDeathTest, withoutWaitingAMissingNetworkIsAnError) {
  EXPECT_EXIT(
      {
        enterOwnNetwork();
        Scene scene;
        const Loaded loaded = Load(scene.failing, scene.request()).resume().wait();
        exitWith({loaded.code() == URLErrorCode::notConnectedToInternet});
      },
      succeeded, "");
}

TEST_F(ConnectivityDeathTest, aTaskThatWaitsGoesOnWhenTheNetworkIsBack) {
  EXPECT_EXIT(
      {
        enterOwnNetwork();
        Scene scene;
        Load waiting(scene.waiting, scene.request());
        waiting.resume();
        // The loop takes tasks in order: when this one has failed, the other has tried.
        const Loaded failed = Load(scene.failing, scene.request()).resume().wait();
        const bool stillWaits = !waiting.isDone();
        bringNetwork();
        const Loaded loaded = waiting.wait();
        exitWith({failed.error.has_value(), stillWaits, loaded.body() == "here", waiting.completions() == 1});
      },
      succeeded, "");
}

TEST_F(ConnectivityDeathTest, aTaskThatWaitsCanBeCancelled) {
  EXPECT_EXIT(
      {
        enterOwnNetwork();
        Scene scene;
        Load waiting(scene.waiting, scene.request());
        waiting.resume();
        Load(scene.failing, scene.request()).resume().wait();
        waiting.cancel();
        exitWith({waiting.wait().code() == URLErrorCode::cancelled});
      },
      succeeded, "");
}

}  // namespace
}  // namespace platform
