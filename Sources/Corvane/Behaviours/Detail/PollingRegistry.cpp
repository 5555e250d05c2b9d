#include "Corvane/Behaviours/Detail/PollingRegistry.hpp"

#include <cmath>
#include <typeindex>
#include <unordered_map>
#include <utility>

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Foundation/TypeName.hpp"
#include "Platform/Trap.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

// Logged as they are; logs of different builds stay comparable.
constexpr const char* sourceFile = "HTTPPolling";
constexpr const char* notPollingForHandler = "Polling handler should already be provided ";
constexpr const char* functionOfAdding = "_addPollingHandler(_:)";
constexpr int lineOfAdding = 147;
constexpr const char* notPollingForStop = "Not currently polling ";
constexpr const char* functionOfStopping = "stopPolling()";
constexpr int lineOfStopping = 194;

using Handlers = std::vector<AnyPollingHandler>;

struct Registry {
  Mutex mutex;
  // By type, not by name: two types in unnamed namespaces may have one name.
  std::unordered_map<std::type_index, std::shared_ptr<HandlerRef>> updateHandlers CORVANE_GUARDED_BY(mutex);
};

Registry& registry() {
  static Registry& shared = *new Registry;
  return shared;
}

std::shared_ptr<HandlerRef> found(const Registry& locked, const std::type_info& type) CORVANE_REQUIRES(locked.mutex) {
  const auto entry = locked.updateHandlers.find(type);
  return entry == locked.updateHandlers.end() ? nullptr : entry->second;
}

std::shared_ptr<HandlerRef> recordOf(const std::type_info& type) {
  Registry& shared = registry();
  const MutexLock lock(shared.mutex);
  return found(shared, type);
}

void append(HandlerRef& record, std::optional<AnyPollingHandler> handler) {
  if (!handler) return;
  auto longer = std::make_shared<Handlers>(*record.anyHandlers);
  longer->push_back(*std::move(handler));
  record.anyHandlers = std::move(longer);
}

/// False when the type does not poll.
bool appendTo(const std::type_info& type, std::optional<AnyPollingHandler>& handler) {
  Registry& shared = registry();
  const MutexLock lock(shared.mutex);
  const auto record = found(shared, type);
  if (record) append(*record, std::move(handler));
  return record != nullptr;
}

/// Takes the type out of the register; null when it is not there, or not with that record.
std::shared_ptr<HandlerRef> takeOut(const std::type_info& type, const HandlerRef* only = nullptr) {
  Registry& shared = registry();
  const MutexLock lock(shared.mutex);
  const auto entry = shared.updateHandlers.find(type);
  if (entry == shared.updateHandlers.end() || (only && entry->second.get() != only)) return nullptr;
  auto record = std::move(entry->second);
  shared.updateHandlers.erase(entry);
  return record;
}

void end(const HandlerRef& record) {
  record.timer->suspend();
  // Ticks under way: nobody waits for their responses any more.
  std::stop_source(record.stop).request_stop();  // a copy, since a const one cannot with every library
}

}  // namespace

HandlerRef::HandlerRef(const std::string& name, std::shared_ptr<TimerHandler> timerOfType, const SendOptions& options)
    : dispatchQueue(name + ".HTTPPollingQueue"),
      timer(std::move(timerOfType)),
      anyHandlers(std::make_shared<const Handlers>()),
      tickOptions(options) {
  tickOptions.stop = stop.get_token();
}

void HandlerRef::Stop::operator()() const noexcept {
  platform::detail::requiringMemory("a polling cannot be stopped", [this] {
    const auto self = record.lock();
    if (self && takeOut(type, self.get())) end(*self);
  });
}

void startPolling(const std::type_info& type, double rate, void (*tick)(const TimerHandler&),
                  std::optional<AnyPollingHandler> handler, const SendOptions& options) {
  if (std::isnan(rate)) platform::trap("The pollingRate of " + platform::typeName(type) + " is not a number");
  if (handler) handler->stop = options.stop;
  if (appendTo(type, handler)) return;
  const auto fresh = std::make_shared<HandlerRef>(platform::typeName(type), TimerHandler::make(rate, tick), options);
  append(*fresh, handler);
  {
    Registry& shared = registry();
    const MutexLock lock(shared.mutex);
    const auto [entry, isNew] = shared.updateHandlers.emplace(type, fresh);
    if (!isNew) {
      // Started on another thread meanwhile: that timer stays, and this one ends before its first tick.
      append(*entry->second, std::move(handler));
      return;
    }
  }
  if (options.stop.stop_possible()) fresh->stopping.emplace(options.stop, HandlerRef::Stop{type, fresh});
}

void addPollingHandler(const std::type_info& type, std::optional<AnyPollingHandler> handler) {
  if (appendTo(type, handler)) return;
  moduleLogger().fault(notPollingForHandler + platform::typeName(type), std::nullopt, std::nullopt, sourceFile,
                       functionOfAdding, lineOfAdding);
}

void stopPolling(const std::type_info& type) {
  if (const auto record = takeOut(type)) {
    end(*record);
  } else {
    moduleLogger().fault(notPollingForStop + platform::typeName(type), std::nullopt, std::nullopt, sourceFile,
                         functionOfStopping, lineOfStopping);
  }
}

bool isPolling(const std::type_info& type) { return recordOf(type) != nullptr; }

bool isPollingWith(const std::type_info& type, const TimerHandler& timer) {
  const auto record = recordOf(type);
  return record && record->timer.get() == &timer;
}

std::optional<SendOptions> tickOptions(const std::type_info& type, const TimerHandler& timer) {
  const auto record = recordOf(type);
  if (!record || record->timer.get() != &timer) return std::nullopt;
  return record->tickOptions;
}

void callPollingHandlers(const std::type_info& type, const std::type_info& handlerType, const void* argument,
                         void (*call)(void* handler, const void* argument)) {
  std::shared_ptr<HandlerRef> record;
  std::shared_ptr<const Handlers> handlers;
  {
    Registry& shared = registry();
    const MutexLock lock(shared.mutex);
    record = found(shared, type);
    if (!record) return;
    handlers = record->anyHandlers;
  }
  for (const auto& handler : *handlers) {
    if (*handler.type != handlerType || handler.stop.stop_requested()) continue;
    // A handler before this one may have stopped the polling; then what this one refers to may be gone.
    if (recordOf(type) != record) return;
    call(handler.function.get(), argument);
  }
}

PollingPause::PollingPause(const std::type_info& type) : type_(type) {
  if (const auto record = recordOf(type_)) record->timer->suspend();
}

PollingPause::~PollingPause() {
  platform::detail::requiringMemory("a polling cannot go on", [this] {
    if (const auto record = recordOf(type_)) record->timer->resume();
  });
}

}  // namespace corvane::detail
