#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "Corvane/Behaviours/HTTPMockable.hpp"
#include "Corvane/Behaviours/HTTPPolling.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace corvane {

/// Answers itself with its number. Those that ticks make are numbered from 1.
struct NumberedPoll : DataGetRequestable<NumberedPoll>, HTTPMockable<NumberedPoll>, HTTPPolling<NumberedPoll> {
  static constexpr double pollingRate = 10;

  inline static std::atomic<int> made = 0;
  inline static std::atomic<bool> hasNothingToMake = false;
  inline static std::atomic<bool> mayFire = true;
  // Never destroyed: stopping does not wait for a tick under way, which may go on while the process ends.
  /// Fulfilled by `make`, with the number.
  inline static testkit::Expectation<int>& makings = *new testkit::Expectation<int>;
  /// Fulfilled by `shouldFirePoll`.
  inline static testkit::Expectation<void>& askings = *new testkit::Expectation<void>;
  /// Fulfilled when a response is processed, with its number.
  inline static testkit::Expectation<int>& processings = *new testkit::Expectation<int>;
  /// Called by `make`.
  inline static platform::Block whileMade;

  static void reset() {
    made = 0;
    makings = {};
    askings = {};
    processings = {};
    hasNothingToMake = false;
    mayFire = true;
    whileMade = nullptr;
  }
  static std::optional<NumberedPoll> make() {
    const int number = ++made;
    if (whileMade) whileMade();
    const bool isAbsent = hasNothingToMake;
    makings.fulfil(number);
    if (isAbsent) return std::nullopt;
    return NumberedPoll{.number = number};
  }
  static bool shouldFirePoll() {
    const bool mayFireNow = mayFire;
    askings();
    return mayFireNow;
  }

  int number = 0;
  double mockResponseTime = 0;
  bool shouldSend = true;
  URL baseURL = "https://example.com/news";
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data(std::to_string(number)); }
  void process(const DataResponse&) const { processings.fulfil(number); }
};

/// Polling by a clock that stands still. What the test's handlers hear is noted on the main queue, which the test's
/// own thread drains.
class PollingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    NumberedPoll::reset();
    // Once it was drained, the main queue has no timer of its own, which waits for that.
    DispatchQueue::main().runOnce();
  }
  void TearDown() override {
    if (NumberedPoll::isPolling()) NumberedPoll::stopPolling();
    detail::mockBackgroundQueue().sync([] {});
    DispatchQueue::main().runOnce();
  }

  void note(std::string event) { events.push_back(std::move(event)); }
  /// A handler that notes its name and the numbers of request and response.
  auto noting(std::string name) {
    return [this, name = std::move(name)](const auto& request, const DataResponse& response) {
      note(name + " " + std::to_string(request.number) + ":" + response.data->text());
    };
  }
  /// The same for a completion.
  auto notingCompletion(std::string name) {
    return [this, name = std::move(name)](const DataResponse& response) { note(name + ":" + response.data->text()); };
  }
  /// Drains the main queue until so many events were noted.
  [[nodiscard]] bool hears(std::size_t count) {
    return DispatchQueue::main().runUntil([&] { return events.size() >= count; }, 10);
  }
  /// Lets a tick come, and waits until it has made its request, the one of this number.
  void tick(int number) {
    clock.advance(NumberedPoll::pollingRate);
    NumberedPoll::makings.waitForAll(static_cast<std::size_t>(number));
  }

  platform::detail::ManualClock clock;
  std::vector<std::string> events;
};

}  // namespace corvane
