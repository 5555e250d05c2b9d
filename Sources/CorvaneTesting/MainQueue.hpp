#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::testkit {

/// Drains the main queue until a block that runs there fulfils the expectation, and returns its value. For completions
/// for which no queue was named. Call it on the test's own thread. Throws `std::runtime_error` when the limit passed
/// first.
template <class T>
T waitOnMain(const Expectation<T>& expectation, std::chrono::milliseconds limit = std::chrono::milliseconds(10'000)) {
  if (!platform::DispatchQueue::main().runUntil([&] { return expectation.isFulfilled(); }, limit)) {
    throw std::runtime_error("nothing on the main queue fulfilled the expectation within " +
                             std::to_string(limit.count()) + " ms");
  }
  return expectation.wait(std::chrono::milliseconds(0));
}

/// `await` for completions that arrive on the main queue.
template <class T, class Start>
T awaitOnMain(Start&& start, std::chrono::milliseconds limit = std::chrono::milliseconds(10'000)) {
  Expectation<T> expectation;
  std::forward<Start>(start)(expectation);
  return waitOnMain(expectation, limit);
}

}  // namespace corvane::testkit
