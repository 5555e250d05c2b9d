#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <typeinfo>
#include <vector>

#include "Corvane/Behaviours/Detail/TimerHandler.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

/// A handler of whatever type, with that type.
struct AnyPollingHandler {
  const std::type_info* type = nullptr;
  std::shared_ptr<void> function;
  /// Once it is requested, the handler is not called any more.
  std::stop_token stop = {};
};

/// What there is of a type that polls.
struct CORVANE_API HandlerRef {
  HandlerRef(const std::string& name, std::shared_ptr<TimerHandler> timerOfType, const SendOptions& options = {});

  /// Labelled with the type's name.
  const platform::DispatchQueue dispatchQueue;
  const std::shared_ptr<TimerHandler> timer;
  /// Replaced as a whole, so that who calls them may keep the list meanwhile.
  std::shared_ptr<const std::vector<AnyPollingHandler>> anyHandlers;
  /// Of the ticks under way: requested when the polling ends.
  std::stop_source stop;
  /// Of every tick, with that stop.
  SendOptions tickOptions;

  /// Ends the polling when the caller wants it.
  struct Stop {
    void operator()() const noexcept;

    const std::type_info& type;
    std::weak_ptr<HandlerRef> record;
  };
  std::optional<std::stop_callback<Stop>> stopping;
};

// The process's register of the types that poll, by type. A type polls exactly while it has a record.
//
// Safe on any thread. The lock inside is held for as long as it takes to find a record and copy a pointer; nothing is
// called meanwhile, no application code, no timer, no queue.

/// Starts polling, unless the type polls already; registers the handler, if there is one. The options are those of the
/// ticks; their stop is that of the polling.
CORVANE_API void startPolling(const std::type_info& type, double rate, void (*tick)(const TimerHandler&),
                              std::optional<AnyPollingHandler> handler, const SendOptions& options = {});
/// Logs a fault, and does nothing else, when the type does not poll.
CORVANE_API void addPollingHandler(const std::type_info& type, std::optional<AnyPollingHandler> handler);
/// Logs a fault, and does nothing else, when the type does not poll.
CORVANE_API void stopPolling(const std::type_info& type);

CORVANE_API bool isPolling(const std::type_info& type);
/// Whether this timer is the one that the type polls with.
CORVANE_API bool isPollingWith(const std::type_info& type, const TimerHandler& timer);
/// What a tick of this timer is sent with; absent when the type does not poll with it.
CORVANE_API std::optional<SendOptions> tickOptions(const std::type_info& type, const TimerHandler& timer);

/// Calls those handlers of the type that are of the type `handlerType`, in their order, each as `call(handler,
/// argument)`; others are skipped. Ends when the polling was stopped meanwhile.
CORVANE_API void callPollingHandlers(const std::type_info& type, const std::type_info& handlerType,
                                     const void* argument, void (*call)(void* handler, const void* argument));

/// Holds the timer of a type, if it polls, from its making to its end.
class CORVANE_API PollingPause {
 public:
  explicit PollingPause(const std::type_info& type);
  ~PollingPause();
  PollingPause(const PollingPause&) = delete;
  PollingPause& operator=(const PollingPause&) = delete;

 private:
  const std::type_info& type_;
};

}  // namespace corvane::detail
