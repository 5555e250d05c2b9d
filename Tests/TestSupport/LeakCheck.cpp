#include "TestSupport/LeakCheck.hpp"

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "Corvane/Transport/HTTPService.hpp"
#include "CorvaneTesting/Ports.hpp"

namespace corvane::testkit {

namespace {

using Clock = std::chrono::steady_clock;

/// Whether the condition came true in time. Nothing tells of a thread that ended or a descriptor that was closed.
template <class Condition>
bool comesTrue(Condition condition, Clock::time_point deadline) {
  while (!condition()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

bool namesSocket(const std::string& line) { return line.find("socket:") != std::string::npos; }

}  // namespace

void LeakCheck::install() {
  unusedPort();  // keeps a socket for the life of the process
  // The thread sanitizer starts a thread of its own with the first of the program.
  std::thread([] {}).join();
  // Before the printer of results, which then shows the test as failed.
  ::testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck(std::chrono::seconds(5)));
}

LeakCheck::LeakCheck(std::chrono::milliseconds patience) : patience_(patience), before_(now()) {
  if (const char* outer = std::getenv("TMPDIR")) outerDirectory_ = outer;
  ::setenv("TMPDIR", directory_.path().c_str(), 1);
}

LeakCheck::~LeakCheck() {
  if (outerDirectory_) {
    ::setenv("TMPDIR", outerDirectory_->c_str(), 1);
  } else {
    ::unsetenv("TMPDIR");
  }
}

void LeakCheck::OnTestStart(const ::testing::TestInfo&) { begin(); }

void LeakCheck::OnTestEnd(const ::testing::TestInfo&) { end(); }

void LeakCheck::begin() { before_ = now(); }

void LeakCheck::end() {
  std::string text;
  for (const std::string& line : leftAfterPatience()) text.append("\n  ").append(line);
  if (!text.empty()) ADD_FAILURE() << "The test left behind:" << text;
}

std::vector<std::string> LeakCheck::leftAfterPatience() {
  const auto deadline = Clock::now() + patience_;
  // Tasks first: to reset the sessions ends them.
  const bool areTasksGone = comesTrue([this] { return now().taskCount() <= before_.taskCount(); }, deadline);
  std::vector<std::string> left = now().beyond(before_);
  if (!areTasksGone || left.empty()) return left;
  if (std::any_of(left.begin(), left.end(), namesSocket)) HTTPService::shared().invalidateAndCancel();
  comesTrue([&] { return (left = now().beyond(before_)).empty(); }, deadline);
  return left;
}

}  // namespace corvane::testkit
