#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Corvane/Authentication/BearerAuthentication.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

/// A token, and the one refresh of it that all wait for. Thread-safe.
class TokenStore : public std::enable_shared_from_this<TokenStore> {
 public:
  using Refresh = BearerAuthentication::Refresh;

  struct Token {
    std::string text;
    /// Grows with each token; the first has 1.
    std::uint64_t generation = 0;
    /// Whether it was refreshed for the one who asked.
    bool isFresh = false;
  };

  explicit TokenStore(Refresh refresh) : refresh_(std::move(refresh)) {}
  TokenStore(const TokenStore&) = delete;
  TokenStore& operator=(const TokenStore&) = delete;

  std::optional<std::string> current() const;
  void set(std::optional<std::string> text);
  /// Whether a request that was sent from that queue is part of a refresh.
  bool isRefreshedFrom(const std::optional<platform::DispatchQueue>& queue) const { return queue && *queue == queue_; }
  /// The token, where it is newer than that generation and is not being refreshed, else the outcome of the refresh. To
  /// cancel the future is to wait no longer; the refresh is cancelled when none waits for it.
  velisand::Future<Token> newerThan(std::uint64_t generation);

 private:
  class Waiter;
  class Settling;

  /// Begins the refresh that is waited for, unless there is none, or another runs. Returns its number, for `start`.
  std::uint64_t begin() CORVANE_REQUIRES(mutex_);
  /// Calls the application's function; nothing for 0.
  void start(std::uint64_t flight);
  void refresh(std::uint64_t flight);
  void settle(std::uint64_t flight, const velisand::Result<std::string>& result);
  void leave(const Waiter& waiter);

  const platform::DispatchQueue queue_{"org.corvane.Corvane.token"};
  /// Called on the queue.
  Refresh refresh_;

  mutable platform::detail::Mutex mutex_;
  std::optional<Token> token_ CORVANE_GUARDED_BY(mutex_);
  std::uint64_t generations_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::vector<std::shared_ptr<Waiter>> waiters_ CORVANE_GUARDED_BY(mutex_);
  /// The refresh that is waited for; 0: none.
  std::uint64_t flight_ CORVANE_GUARDED_BY(mutex_) = 0;
  /// The refresh that runs; 0: none. Another than the one that is waited for where nobody waits for it any more: the
  /// next one begins when it is over, since a service may take its secret once.
  std::uint64_t running_ CORVANE_GUARDED_BY(mutex_) = 0;
  /// Whether the application has set a token since the refresh that runs began.
  bool isOutdated_ CORVANE_GUARDED_BY(mutex_) = false;
  std::uint64_t flights_ CORVANE_GUARDED_BY(mutex_) = 0;
  /// What it returned; not kept, so that it is noticed when the application lets go of it.
  std::weak_ptr<velisand::detail::AnyFutureState> refreshing_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::detail
