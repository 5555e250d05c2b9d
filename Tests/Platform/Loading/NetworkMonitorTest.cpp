#include "Platform/Loading/Internal/NetworkMonitor.hpp"

#include <gtest/gtest.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace platform::detail {
namespace {

/// What the child process found, as its exit status.
enum Finding : int {
  allWell = 0,
  notPermitted = 77,
  heardSomethingBefore = 1,
  foundANetwork = 2,
  couldNotChange = 3,
  heardNothing = 4,
  didNotDrain = 5,
};

bool raiseLoopback() {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool isDone = descriptor >= 0 && ::ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
  if (descriptor >= 0) ::close(descriptor);
  return isDone;
}

/// In a network of its own, where nothing but a loopback device exists, and that one is down.
Finding watchANetworkOfItsOwn() {
  // An administrator may have one as it is; others need a user namespace, which a process with threads may not make.
  if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return notPermitted;
  NetworkMonitor monitor;
  if (monitor.drain()) return heardSomethingBefore;
  if (machineHasNetwork()) return foundANetwork;
  if (!raiseLoopback()) return couldNotChange;
  pollfd event{.fd = monitor.descriptor(), .events = POLLIN, .revents = 0};
  if (::poll(&event, 1, 5000) != 1 || !monitor.drain()) return heardNothing;
  if (machineHasNetwork()) return foundANetwork;
  return monitor.drain() ? didNotDrain : allWell;
}

TEST(NetworkMonitorTest, hearsThatADeviceComesUp) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) ::_exit(watchANetworkOfItsOwn());

  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);

  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == notPermitted) GTEST_SKIP() << "this system allows no network namespace of one's own";
  EXPECT_EQ(WEXITSTATUS(status), allWell);
}

TEST(NetworkMonitorTest, hasADescriptorToWaitFor) {
  const NetworkMonitor monitor;

  EXPECT_GE(monitor.descriptor(), 0);
}

}  // namespace
}  // namespace platform::detail
