#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace corvane::testkit {

namespace detail {

/// Counts fulfilments, and lets threads wait for them. All functions require the lock.
class Fulfilments {
 public:
  /// Holds the lock while it exists.
  class Lock {
   public:
    explicit Lock(Fulfilments& fulfilments);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    Fulfilments& fulfilments_;
  };

  Fulfilments();
  ~Fulfilments();
  Fulfilments(const Fulfilments&) = delete;
  Fulfilments& operator=(const Fulfilments&) = delete;

  void add();
  std::size_t count() const;
  /// Releases the lock while it waits. False when the limit passed first.
  bool waitFor(std::size_t least, std::chrono::milliseconds limit);
  /// The same; throws when the limit passed first.
  void demand(std::size_t least, std::chrono::milliseconds limit);

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace detail

/// Something asynchronous that a test waits for: a completion, a callback, an event with a value.
///
/// ```
/// Expectation<Response> finished;
/// request.send([=](Response response) { finished.fulfil(std::move(response)); });
/// EXPECT_EQ(finished.wait().status(), 200);
/// EXPECT_EQ(finished.count(), 1);
/// ```
///
/// Copies are the same expectation, so a callback may outlive the test's copy. It keeps every fulfilment: a completion
/// that is called twice counts twice. All members may be called on any thread.
template <class T>
class Expectation {
 public:
  /// The unit of every limit.
  using Milliseconds = std::chrono::milliseconds;
  /// The default limit of a wait: ten seconds.
  static constexpr Milliseconds defaultWait{10'000};

  /// Keeps the value, and wakes waiting threads.
  void fulfil(T value) const {
    // The waiting thread may destroy this object as soon as it sees the value.
    const std::shared_ptr<State> state = state_;
    const Lock lock(state->fulfilments);
    state->values.push_back(std::move(value));
    state->fulfilments.add();
  }
  /// The same as `fulfil`, so that an expectation can itself be the callback.
  void operator()(T value) const { fulfil(std::move(value)); }

  /// Waits for the first value. Throws `std::runtime_error` when the limit passed first.
  T wait(Milliseconds limit = defaultWait) const { return waitForAll(1, limit).front(); }
  /// Waits for at least this number of values, and returns all values so far. Throws `std::runtime_error` when the
  /// limit passed first.
  std::vector<T> waitForAll(std::size_t least, Milliseconds limit = defaultWait) const {
    const Lock lock(state_->fulfilments);
    state_->fulfilments.demand(least, limit);
    return state_->values;
  }
  /// Whether it is fulfilled before the limit. If it should not be fulfilled, pass a short limit.
  bool isFulfilledWithin(Milliseconds limit) const {
    const Lock lock(state_->fulfilments);
    return state_->fulfilments.waitFor(1, limit);
  }

  /// Whether it has been fulfilled.
  bool isFulfilled() const { return count() > 0; }
  /// The number of fulfilments.
  int count() const {
    const Lock lock(state_->fulfilments);
    return static_cast<int>(state_->fulfilments.count());
  }

 private:
  using Lock = detail::Fulfilments::Lock;

  struct State {
    detail::Fulfilments fulfilments;
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
  static constexpr Milliseconds defaultWait() { return Expectation<char>::defaultWait; }

  // One byte-sized value each: a vector of bool would hand out proxies.
  Expectation<char> events_;
};

/// Starts an operation that takes a callback, and returns the first value that the callback is called with:
/// `auto response = await<Response>([&](auto done) { request.send(done); });`
template <class T, class Start>
T await(Start&& start, std::chrono::milliseconds limit = Expectation<T>::defaultWait) {
  Expectation<T> expectation;
  std::forward<Start>(start)(expectation);
  return expectation.wait(limit);
}

}  // namespace corvane::testkit
