#include "Platform/Dispatch/Internal/Thread.hpp"

#include <pthread.h>

#include <chrono>
#include <csignal>
#include <memory>

namespace platform::detail {
namespace {

struct Start {
  ThreadName name;
  UniqueFunction<void()> body;
};

void* enter(void* argument) noexcept {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  ::pthread_setname_np(::pthread_self(), start->name.text());
  start->body();
  return nullptr;
}

/// All signals but those that a thread raises by its own fault: blocked, they would kill the process without
/// asking the handlers of crash reporters and sanitizers.
sigset_t signalsOfTheApplication() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) sigdelset(&signals, fault);
  return signals;
}

}  // namespace

ThreadName::ThreadName(std::string_view label) {
  if (label.size() >= text_.size()) label.remove_prefix(label.size() - text_.size() + 1);
  label.copy(text_.data(), text_.size() - 1);
}

void ThreadName::apply() const {
  using SteadyClock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds shortestTime{1};
  thread_local std::array<char, 16> applied{};
  thread_local SteadyClock::time_point changed{};
  if (applied == text_) return;
  const auto now = SteadyClock::now();
  if (now - changed < shortestTime) return;
  changed = now;
  applied = text_;
  ::pthread_setname_np(::pthread_self(), text_.data());
}

bool startThread(std::string_view name, UniqueFunction<void()> body) {
  auto start = std::make_unique<Start>(Start{ThreadName(name), std::move(body)});
  const sigset_t blocked = signalsOfTheApplication();
  sigset_t previous;
  // A thread starts with the mask of the one that makes it.
  ::pthread_sigmask(SIG_BLOCK, &blocked, &previous);
  pthread_t thread{};
  const bool started = ::pthread_create(&thread, nullptr, &enter, start.get()) == 0;
  ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (!started) return false;
  static_cast<void>(start.release());
  ::pthread_detach(thread);
  return true;
}

}  // namespace platform::detail
