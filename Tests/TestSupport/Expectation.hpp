#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace corvane::testing {

/// Something asynchronous that a test waits for: a completion, a callback, an event with a value.
///
/// ```
/// Expectation<Response> finished;
/// request.send([=](Response response) { finished.fulfil(std::move(response)); });
/// EXPECT_EQ(finished.wait().status(), 200);
/// EXPECT_EQ(finished.count(), 1);
/// ```
///
/// Copies are the same expectation, so a callback may outlive the test's own. It keeps every fulfilment: a
/// completion that comes twice is counted twice. All members may be called from any thread.
template <class T>
class Expectation {
 public:
  using Milliseconds = std::chrono::milliseconds;
  static constexpr Milliseconds defaultWait{10'000};

  void fulfil(T value) const {
    // Whoever waits may destroy this object as soon as it sees the value.
    const std::shared_ptr<State> state = state_;
    {
      const std::lock_guard lock(state->mutex);
      state->values.push_back(std::move(value));
    }
    state->changed.notify_all();
  }
  /// The same as `fulfil`, so that an expectation can itself be the callback.
  void operator()(T value) const { fulfil(std::move(value)); }

  /// The first value; throws `std::runtime_error` when it does not come in time.
  T wait(Milliseconds limit = defaultWait) const { return waitForAll(1, limit).front(); }
  /// The values so far, once there are at least so many; throws `std::runtime_error` when they do not come in time.
  std::vector<T> waitForAll(std::size_t least, Milliseconds limit = defaultWait) const {
    std::unique_lock lock(state_->mutex);
    if (state_->changed.wait_for(lock, limit, [&] { return state_->values.size() >= least; })) return state_->values;
    throw std::runtime_error("an expectation was fulfilled " + std::to_string(state_->values.size()) +
                             " times within " + std::to_string(limit.count()) + " ms, not " + std::to_string(least));
  }
  /// Whether it is fulfilled in time; for negative expectations, give a short limit.
  bool isFulfilledWithin(Milliseconds limit) const {
    std::unique_lock lock(state_->mutex);
    return state_->changed.wait_for(lock, limit, [&] { return !state_->values.empty(); });
  }

  bool isFulfilled() const { return count() > 0; }
  int count() const {
    const std::lock_guard lock(state_->mutex);
    return static_cast<int>(state_->values.size());
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<T> values;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// An expectation without a value.
template <>
class Expectation<void> {
 public:
  using Milliseconds = std::chrono::milliseconds;

  void fulfil() const { events_.fulfil(true); }
  void operator()() const { fulfil(); }

  void wait(Milliseconds limit = defaultWait()) const { events_.wait(limit); }
  void waitForAll(std::size_t least, Milliseconds limit = defaultWait()) const { events_.waitForAll(least, limit); }
  bool isFulfilledWithin(Milliseconds limit) const { return events_.isFulfilledWithin(limit); }
  bool isFulfilled() const { return events_.isFulfilled(); }
  int count() const { return events_.count(); }

 private:
  static constexpr Milliseconds defaultWait() { return Expectation<bool>::defaultWait; }

  // One byte-sized value each: a vector of bool would hand out proxies.
  Expectation<char> events_;
};

/// Starts something that takes a callback, and returns what the callback is first given:
/// `auto response = await<Response>([&](auto done) { request.send(done); });`
template <class T, class Start>
T await(Start&& start, std::chrono::milliseconds limit = Expectation<T>::defaultWait) {
  Expectation<T> expectation;
  std::forward<Start>(start)(expectation);
  return expectation.wait(limit);
}

}  // namespace corvane::testing
