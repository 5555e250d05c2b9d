#include "Platform/Dispatch/Internal/Thread.hpp"

#include <pthread.h>

#include <chrono>
#include <memory>
#include <new>

#include "Platform/Dispatch/Internal/ForkGuard.hpp"

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

SignalShield::SignalShield() {
  sigset_t blocked;
  sigfillset(&blocked);
  // The kernel ends the process for a fault whose signal is blocked, without asking a handler.
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) sigdelset(&blocked, fault);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &previous_);
}

SignalShield::~SignalShield() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

bool startThread(std::string_view name, UniqueFunction<void()> body) noexcept {
  ForkGuard::noteThreads();
  std::unique_ptr<Start> start(new (std::nothrow) Start{ThreadName(name), std::move(body)});
  if (!start) return false;
  {
    const SignalShield shield;
    pthread_t thread{};
    if (::pthread_create(&thread, nullptr, &enter, start.get()) != 0) return false;
    ::pthread_detach(thread);
  }
  static_cast<void>(start.release());
  return true;
}

}  // namespace platform::detail
