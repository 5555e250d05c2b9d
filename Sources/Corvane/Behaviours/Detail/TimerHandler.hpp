#pragma once

#include <memory>
#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

/// The timer of a polling type: calls its block every `timeInterval` seconds, on the global queue, from its making
/// on. A tick that comes due while it is suspended comes once, when it is resumed.
class CORVANE_API TimerHandler : public std::enable_shared_from_this<TimerHandler> {
 public:
  enum class State { suspended, resumed };

  /// Is told who calls.
  using Tick = platform::UniqueFunction<void(const TimerHandler&)>;

  static std::shared_ptr<TimerHandler> make(double timeInterval, Tick block);
  ~TimerHandler();
  TimerHandler(const TimerHandler&) = delete;
  TimerHandler& operator=(const TimerHandler&) = delete;

  // Any thread; they wait for a change of state that is under way on another, never for a block.
  void resume();
  void suspend();
  State state() const;

 private:
  TimerHandler(double timeInterval, Tick block);

  const platform::DispatchTimer& timer();

  /// Made when it is resumed for the first time.
  std::optional<platform::DispatchTimer> timer_;
  const double timeInterval_;
  Tick block_;
  /// All changes of state run here.
  const platform::DispatchQueue timerQueue_;
  State state_ = State::suspended;
};

}  // namespace corvane::detail
