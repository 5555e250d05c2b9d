#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "CorvaneTesting/Ports.hpp"
#include "SessionTest.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/NetworkTime.hpp"

// What happens without a network is tried in a network namespace of its own (network_namespaces(7)), where there is
// only a loopback interface, which is down. Each test runs in a child process, since a thread that exists already
// would stay in the old namespace.

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::TestServer;

constexpr int notPermitted = 77;

constexpr const char* address = "192.0.2.1";  // for documentation (RFC 5737), so nobody's

void configure(const char* interface, unsigned long command, ifreq request) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  std::strcpy(request.ifr_name, interface);
  if (::ioctl(descriptor, command, &request) != 0) std::abort();
  ::close(descriptor);
}

void raiseLoopback() {
  ifreq up{};
  up.ifr_flags = IFF_UP | IFF_RUNNING;
  configure("lo", SIOCSIFFLAGS, up);
}

/// Makes the address lead to this machine.
void bringAddress() {
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
    server.handleAll([](const auto&) { return MockResponse(200).body("here"); });
  }

  static std::shared_ptr<URLSession> session(bool waits) {
    return URLSession::make({.waitsForConnectivity = waits}, nullptr, DispatchQueue("test.delegate"));
  }
  URLRequest request(const char* host = address, double timeout = 60) const {
    return {URL(server.url("/", host)), URLRequestCachePolicy::useProtocolCachePolicy, timeout};
  }
  std::int64_t failure(const std::string& url) const { return Load(failing, URL(url)).resume().wait().code(); }
  /// The loop takes tasks in order: when one that does not wait has failed, the one before it has tried.
  bool hasTried(const Load& load, const char* host = address) const {
    return Load(failing, request(host)).resume().wait().error.has_value() && !load.isDone();
  }

  TestServer server{corvane::testkit::ServerOptions{.addresses = {"0.0.0.0"}}};
  const std::shared_ptr<URLSession> waiting = session(true);
  const std::shared_ptr<URLSession> failing = session(false);
};

using Facts = std::vector<bool>;

class ConnectivityDeathTest : public testing::Test {
 protected:
  /// Runs the scene in a child process with a network of its own, and expects that all it tells is true.
  static void alone(Facts (*scene)()) {
    EXPECT_EXIT(
        {
          if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) ::_exit(notPermitted);
          const Facts facts = scene();
          for (std::size_t i = 0; i < facts.size(); ++i) {
            if (!facts[i]) ::_exit(static_cast<int>(i) + 1);
          }
          ::_exit(0);
        },
        isFine, "");
    if (exitStatus == notPermitted) GTEST_SKIP() << "this system allows no network namespace of one's own";
    EXPECT_EQ(exitStatus, 0) << "the number of the first fact that does not hold";
  }

 private:
  static bool isFine(int status) {
    exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return WIFEXITED(status);
  }
  static inline int exitStatus = -1;
};

TEST_F(ConnectivityDeathTest, withoutAnyNetworkOtherHostsAreOutOfReach) {
  alone([]() -> Facts {
    const Scene scene;
    const auto down = scene.failure(scene.server.url("/", address));
    const auto nameDown = scene.failure("http://" + std::string(corvane::testkit::HeldLookUps::missingName) + "/");
    raiseLoopback();
    const auto up = scene.failure(scene.server.url("/", address));
    const auto sixUp = scene.failure("http://[2001:db8::1]/");
    const auto nameUp = scene.failure("http://" + std::string(corvane::testkit::HeldLookUps::missingName) + "/");
    return {down == URLErrorCode::notConnectedToInternet, nameDown == URLErrorCode::notConnectedToInternet,
            up == URLErrorCode::notConnectedToInternet, sixUp == URLErrorCode::notConnectedToInternet,
            nameUp == URLErrorCode::notConnectedToInternet};
  });
}

TEST_F(ConnectivityDeathTest, withoutAnyNetworkThisMachineFailsAsEver) {
  alone([]() -> Facts {
    const Scene scene;
    const auto down = scene.failure(scene.server.url("/", "127.0.0.1"));
    const auto sixDown = scene.failure("http://[::1]:1/");
    raiseLoopback();
    const auto refused = scene.failure(corvane::testkit::refusedUrl());
    bringAddress();
    const auto refusedElsewhere =
        scene.failure("http://" + std::string(address) + ":" + std::to_string(corvane::testkit::unusedPort()) + "/");
    return {down == URLErrorCode::cannotConnectToHost, sixDown == URLErrorCode::cannotConnectToHost,
            refused == URLErrorCode::cannotConnectToHost, refusedElsewhere == URLErrorCode::cannotConnectToHost};
  });
}

TEST_F(ConnectivityDeathTest, aTaskThatWaitsGoesOnWhenAnAddressComes) {
  alone([]() -> Facts {
    const Scene scene;
    raiseLoopback();
    Load load(scene.waiting, scene.request());
    load.resume();
    const bool waits = scene.hasTried(load);
    bringAddress();
    const Loaded loaded = load.wait();
    return {waits, loaded.body() == "here", load.completions() == 1};
  });
}

TEST_F(ConnectivityDeathTest, aTaskThatWaitsGoesOnWhenAnInterfaceComesUp) {
  alone([]() -> Facts {
    const Scene scene;
    Load load(scene.waiting, scene.request("127.0.0.1"));
    load.resume();
    const bool waits = scene.hasTried(load, "127.0.0.1");
    raiseLoopback();
    const Loaded loaded = load.wait();
    return {waits, loaded.body() == "here", load.completions() == 1, scene.server.requestCount() == 1};
  });
}

TEST_F(ConnectivityDeathTest, allThatWaitGoOn) {
  alone([]() -> Facts {
    const Scene scene;
    std::vector<std::unique_ptr<Load>> loads;
    for (int i = 0; i < 50; ++i) {
      loads.push_back(std::make_unique<Load>(scene.waiting, scene.request("127.0.0.1")));
      loads.back()->resume();
    }
    const bool wait = scene.hasTried(*loads.back(), "127.0.0.1");
    raiseLoopback();
    bool areServed = true;
    for (const auto& load : loads) areServed = load->wait().body() == "here" && load->completions() == 1 && areServed;
    return {wait, areServed};
  });
}

TEST_F(ConnectivityDeathTest, theTimeOutDoesNotRunWhileATaskWaits) {
  alone([]() -> Facts {
    const Scene scene;
    corvane::testkit::NetworkTime time;
    Load load(scene.waiting, scene.request("127.0.0.1"));
    load.resume();
    time.pass(std::chrono::hours(1));
    const bool stillWaits = !load.isDone();
    raiseLoopback();
    return {stillWaits, load.wait().body() == "here"};
  });
}

TEST_F(ConnectivityDeathTest, namesAreLookedUpAnewAfterAChange) {
  alone([]() -> Facts {
    using corvane::testkit::HeldLookUps;
    const Scene scene;
    raiseLoopback();
    // A session of its own each time: connections that are kept need no name.
    const auto load = [&] {
      return Load(Scene::session(false), scene.request(HeldLookUps::localName)).resume().wait().body() == "here";
    };
    const bool first = load();
    const int lookUps = HeldLookUps::localLookUps();
    bringAddress();
    const bool second = load();
    return {first, lookUps > 0, second, HeldLookUps::localLookUps() == lookUps + 1};
  });
}

TEST_F(ConnectivityDeathTest, aTaskThatWaitsCanBeCancelled) {
  alone([]() -> Facts {
    const Scene scene;
    Load load(scene.waiting, scene.request());
    load.resume();
    const bool waits = scene.hasTried(load);
    load.cancel();
    return {waits, load.wait().code() == URLErrorCode::cancelled, load.completions() == 1};
  });
}

TEST_F(ConnectivityDeathTest, invalidatingASessionEndsWhatWaits) {
  alone([]() -> Facts {
    const Scene scene;
    Load load(scene.waiting, scene.request());
    load.resume();
    const bool waits = scene.hasTried(load);
    scene.waiting->invalidateAndCancel();
    return {waits, load.wait().code() == URLErrorCode::cancelled};
  });
}

TEST_F(ConnectivityDeathTest, aHostThatRefusesIsNotWaitedFor) {
  alone([]() -> Facts {
    const Scene scene;
    raiseLoopback();
    const Loaded refused = Load(scene.waiting, URL(corvane::testkit::refusedUrl())).resume().wait();
    return {refused.code() == URLErrorCode::cannotConnectToHost};
  });
}

}  // namespace
}  // namespace platform
