#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::testing {

/// Drains the main queue until the expectation is fulfilled by a block that runs there, and returns its value.
/// For completions that no queue was named for. Call it on the test's own thread.
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

}  // namespace corvane::testing
