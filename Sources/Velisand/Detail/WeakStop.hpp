#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

namespace velisand::detail {

/// The place for the callback of a stop in what the stop ends, an object that shared pointers hold. Calls its
/// `wasStopped()`, unless it is gone, on the thread that requests the stop; that must not throw. The callback does not
/// keep the object: so it, the future that it completes, and the stop of that future form no circle.
///
/// A member that is declared last is destroyed first, and its destructor waits for a callback on another thread.
template <class Object>
class WeakStop {
 public:
  /// From now on. Called at once for a stop that was requested before. At most once for each place.
  void watch(std::stop_token stop, std::weak_ptr<Object> object) {
    if (stop.stop_possible()) callback_.emplace(std::move(stop), Callback{std::move(object)});
  }

 private:
  struct Callback {
    void operator()() const noexcept {
      if (const auto held = object.lock()) held->wasStopped();
    }

    std::weak_ptr<Object> object;
  };

  std::optional<std::stop_callback<Callback>> callback_;
};

}  // namespace velisand::detail
