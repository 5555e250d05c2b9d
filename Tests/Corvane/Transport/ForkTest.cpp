#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "SendFixture.hpp"

// What a process may do that was forked from one that uses the library.

namespace {

/// Of a child: it has none of its parent's threads, so that what only their stacks hold looks lost to a leak checker.
bool isForkedChild = false;

}  // namespace

/// The leak sanitizer asks for it by this name (sanitizer/lsan_interface.h).
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return isForkedChild ? 1 : 0; }

namespace corvane {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

struct ChildEnd {
  int status = 0;
  std::string error;  ///< what it wrote to standard error
};

/// Runs the scene in a child of `fork`, until that ends; one that does not end is killed.
template <class Scene>
ChildEnd inAChild(Scene scene) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return {};
  const pid_t child = ::fork();
  if (child == 0) {
    isForkedChild = true;
    ::dup2(ends[1], STDERR_FILENO);
    scene();
    ::_exit(98);
  }
  ::close(ends[1]);
  ChildEnd end;
  pollfd reading{ends[0], POLLIN, 0};
  for (bool isOpen = true; isOpen;) {
    std::array<char, 512> piece{};
    if (::poll(&reading, 1, 20'000) <= 0) {
      ADD_FAILURE() << "the child does not end";
      ::kill(child, SIGKILL);
      break;
    }
    const ssize_t count = ::read(ends[0], piece.data(), piece.size());
    isOpen = count > 0;
    if (isOpen) end.error.append(piece.data(), static_cast<std::size_t>(count));
  }
  ::waitpid(child, &end.status, 0);
  ::close(ends[0]);
  return end;
}

class ForkTest : public SendTest {
 protected:
  void SetUp() override {
    server.enqueue(MockResponse(200).body("warm"));
    ASSERT_TRUE(responseTo(get()).result.isSuccess());
  }
  static void expectTrapped(const ChildEnd& end) {
    EXPECT_TRUE(WIFSIGNALED(end.status) && WTERMSIG(end.status) == SIGABRT) << end.status;
    EXPECT_THAT(end.error, ::testing::HasSubstr("forked after its threads had been started"));
  }
};

TEST_F(ForkTest, aChildExitsCleanlyWhileRequestsRunInItsParent) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  const auto future = get().send();
  ASSERT_TRUE(server.waitForStall());

  const ChildEnd end = inAChild([] { std::exit(0); });

  EXPECT_TRUE(WIFEXITED(end.status)) << end.status;
  EXPECT_EQ(end.error, "");
  future.cancel();
}

TEST_F(ForkTest, aChildThatSendsIsStoppedWithASentence) {
  expectTrapped(inAChild([&] { get().send(queue, [](const DataResponse&) {}); }));
  expectTrapped(inAChild([&] { get().send().wait(); }));
}

TEST_F(ForkTest, aChildThatUsesQueuesIsStoppedWithASentence) {
  expectTrapped(inAChild([&] { queue.async([] {}); }));
  expectTrapped(inAChild([&] { queue.sync([] {}); }));
  expectTrapped(inAChild([&] { DispatchQueue::global().asyncAfter(1, [] {}); }));
}

}  // namespace
}  // namespace corvane
