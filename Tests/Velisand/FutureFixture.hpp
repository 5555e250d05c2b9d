#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "Platform/Foundation/Error.hpp"
#include "Velisand/Detail/WeakStop.hpp"
#include "Velisand/Future.hpp"

namespace velisand {

inline constexpr platform::Seconds patience(10);

inline platform::Error failure(const std::string& message) { return platform::NSError("Test", 1, message); }

/// Completes a future as the test says, and fails it with "stopped" when it is cancelled.
template <class T>
class Maker : public std::enable_shared_from_this<Maker<T>> {
 public:
  static std::shared_ptr<Maker> make() {
    const auto maker = std::make_shared<Maker>();
    maker->stop_.watch(maker->future.stopToken(), maker);
    return maker;
  }

  const Future<T> future;

 private:
  friend class detail::WeakStop<Maker>;

  void wasStopped() noexcept { future.markFailure(failure("stopped")); }

  detail::WeakStop<Maker> stop_;
};

/// The message of the failure, or else why there is none.
template <class T>
std::string failureOf(const Future<T>& future) {
  if (!future.wait(patience)) return "not completed";
  const auto result = future.result();
  return result.error() ? result.error()->message() : "no failure";
}

/// The value, once it is there; absent on failure.
template <class T>
std::optional<T> valueOf(const Future<T>& future) {
  if (!future.wait(patience)) {
    ADD_FAILURE() << "not completed";
    return std::nullopt;
  }
  const auto result = future.result();
  return result.value() ? std::optional<T>(*result.value()) : std::nullopt;
}

}  // namespace velisand
