#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Networking/Connecting/Resolver.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::networking {

/// The threads in which a resolver's names are looked up: started on demand, ended when idle. They keep this alive, and
/// outlive the resolver while the system lets them wait.
class LookUpThreads : public std::enable_shared_from_this<LookUpThreads> {
 public:
  /// How many names that somebody waits for are looked up at a time; the others wait in line.
  static constexpr std::size_t mostWanted = 8;
  /// The same with those that nobody waits for any more.
  static constexpr std::size_t mostThreads = 32;
  /// How long a thread waits for another name.
  static constexpr std::chrono::seconds idleTime{10};

  LookUpThreads(EventLoop& loop, Resolver& resolver) : loop_(loop), resolver_(&resolver) {}
  LookUpThreads(const LookUpThreads&) = delete;
  LookUpThreads& operator=(const LookUpThreads&) = delete;

  // Loop side.

  /// `Resolver::lookedUp` is called on the loop side once, unless the question is abandoned before it began.
  void ask(std::uint64_t question, const std::string& host);
  /// Nobody waits for it any more. Whether it had not begun, so that nothing comes of it.
  bool abandon(std::uint64_t question);
  /// The resolver goes away.
  void close();

 private:
  struct Asked {
    std::uint64_t question;
    std::string host;
  };

  void run();
  /// False: it is time to end.
  bool takeNext(Asked& next);
  void report(std::uint64_t question, Resolution resolution) CORVANE_REQUIRES(mutex_);
  void startThreads() CORVANE_REQUIRES(mutex_);
  void failWaiting() CORVANE_REQUIRES(mutex_);

  EventLoop& loop_;
  /// Loop side; null once it went away.
  Resolver* resolver_;

  detail::Mutex mutex_;
  detail::ConditionVariable changed_;
  bool isClosed_ CORVANE_GUARDED_BY(mutex_) = false;
  std::deque<Asked> line_ CORVANE_GUARDED_BY(mutex_);
  /// Those under way that somebody waits for.
  std::vector<std::uint64_t> wanted_ CORVANE_GUARDED_BY(mutex_);
  std::size_t threads_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::size_t idle_ CORVANE_GUARDED_BY(mutex_) = 0;
};

}  // namespace platform::networking
