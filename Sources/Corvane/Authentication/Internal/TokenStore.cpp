#include "Corvane/Authentication/Internal/TokenStore.hpp"

#include <utility>

#include "Corvane/Authentication/Internal/CredentialScope.hpp"
#include "Corvane/Errors/HTTPInterceptorError.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Velisand/Detail/Gathering.hpp"
#include "Velisand/Detail/WeakStop.hpp"

namespace corvane::detail {

using platform::Error;
using platform::detail::MutexLock;
using velisand::Future;
using velisand::Result;

/// One who waits for the refresh.
class TokenStore::Waiter : public std::enable_shared_from_this<Waiter> {
 public:
  explicit Waiter(std::weak_ptr<TokenStore> store) : store_(std::move(store)) {}

  const Future<Token>& future() const { return future_; }
  void watch() { stopping_.watch(future_.stopToken(), weak_from_this()); }

 private:
  friend class velisand::detail::WeakStop<Waiter>;
  void wasStopped() noexcept {
    platform::detail::requiringMemory("a request that waits for a token cannot be cancelled", [this] {
      if (const auto store = store_.lock()) store->leave(*this);
    });
  }

  const std::weak_ptr<TokenStore> store_;
  const Future<Token> future_;
  /// Destroyed first.
  velisand::detail::WeakStop<Waiter> stopping_;
};

/// Takes the outcome of a refresh. One that is destroyed before tells that there is none.
class TokenStore::Settling {
 public:
  Settling(std::shared_ptr<TokenStore> store, std::uint64_t flight) : store_(std::move(store)), flight_(flight) {}
  Settling(Settling&& other) noexcept = default;
  Settling& operator=(Settling&&) = delete;
  ~Settling() {
    if (!store_) return;
    platform::detail::requiringMemory("a refresh without an outcome cannot be ended", [this] {
      store_->settle(flight_, Result<std::string>::failure(HTTPInterceptorError::noResponse("of a token's refresh")));
    });
  }
  void operator()(const Result<std::string>& result) { std::exchange(store_, nullptr)->settle(flight_, result); }

 private:
  std::shared_ptr<TokenStore> store_;
  const std::uint64_t flight_;
};

std::optional<std::string> TokenStore::current() const {
  const MutexLock lock(mutex_);
  return token_ ? std::optional(token_->text) : std::nullopt;
}

void TokenStore::set(std::optional<std::string> text) {
  if (text) requireNoControls(*text, "token");
  std::optional<Token> token;
  std::vector<std::shared_ptr<Waiter>> waiters;
  std::shared_ptr<velisand::detail::AnyFutureState> outdated;
  {
    const MutexLock lock(mutex_);
    if (text) token = Token{.text = *std::move(text), .generation = ++generations_};
    token_ = token;
    // What the application says last counts, also against a refresh that began before.
    isOutdated_ = running_ != 0;
    outdated = refreshing_.lock();
    refreshing_.reset();
    if (token) waiters.swap(waiters_);
    flight_ = waiters_.empty() ? 0 : ++flights_;
  }
  for (const auto& waiter : waiters) waiter->future().markCompletion(*token);
  if (outdated) outdated->cancel();
}

Future<TokenStore::Token> TokenStore::newerThan(std::uint64_t generation) {
  const auto waiter = std::make_shared<Waiter>(weak_from_this());
  std::uint64_t begun = 0;
  std::optional<Token> token;
  {
    const MutexLock lock(mutex_);
    if (flight_ == 0 && token_ && token_->generation > generation) {
      token = token_;
    } else {
      waiters_.push_back(waiter);
      if (flight_ == 0) flight_ = ++flights_;
      begun = begin();
    }
  }
  if (token) {
    waiter->future().markCompletion(*std::move(token));
    return waiter->future();
  }
  waiter->watch();
  start(begun);
  return waiter->future();
}

std::uint64_t TokenStore::begin() {
  if (flight_ == 0 || running_ != 0) return 0;
  isOutdated_ = false;
  running_ = flight_;
  return running_;
}

void TokenStore::start(std::uint64_t flight) {
  if (flight == 0) return;
  try {
    queue_.async([self = shared_from_this(), flight] { self->refresh(flight); });
  } catch (...) {
    settle(flight, Result<std::string>::failure(Error::current()));
  }
}

void TokenStore::refresh(std::uint64_t flight) {
  bool isWanted = true;
  std::optional<std::string> refused;
  {
    const MutexLock lock(mutex_);
    isWanted = flight_ == flight;
    if (token_) refused = token_->text;
  }
  if (!isWanted) return settle(flight, Result<std::string>::failure(HTTPResponseError::taskCancelled()));
  Settling settling(shared_from_this(), flight);
  try {
    const Future<std::string> future = refresh_(std::move(refused));
    {
      const MutexLock lock(mutex_);
      isWanted = flight_ == flight;
      if (isWanted) refreshing_ = velisand::detail::FutureAccess::stateOf(future);
    }
    if (!isWanted) future.cancel();
    future.whenCompleted(queue_, std::move(settling));
  } catch (...) {
    settle(flight, Result<std::string>::failure(Error::current()));
  }
}

void TokenStore::settle(std::uint64_t flight, const Result<std::string>& result) {
  Result<Token> outcome = Result<Token>::failure(result.error() ? *result.error() : Error("", 0, ""));
  std::vector<std::shared_ptr<Waiter>> waiters;
  std::uint64_t begun = 0;
  try {
    if (result.value()) {
      requireNoControls(*result.value(), "token");
      outcome = Result<Token>::success({.text = *result.value(), .isFresh = true});
    }
  } catch (...) {
    outcome = Result<Token>::failure(Error::current());
  }
  {
    const MutexLock lock(mutex_);
    if (running_ != flight) return;
    running_ = 0;
    // A token that came though nobody waited for it any more is a good one; the failure of such a refresh is none of
    // those who wait for the next.
    const bool isUsed = !isOutdated_ && (outcome || flight_ == flight);
    if (isUsed) {
      flight_ = 0;
      waiters.swap(waiters_);
      refreshing_.reset();
    }
    if (isUsed && outcome) {
      Token token = *outcome.value();
      token.generation = ++generations_;
      outcome = Result<Token>::success(token);
      token.isFresh = false;
      token_ = std::move(token);
    }
    begun = begin();
  }
  for (const auto& waiter : waiters) waiter->future().markResult(outcome);
  start(begun);
}

void TokenStore::leave(const Waiter& waiter) {
  std::shared_ptr<Waiter> left;
  std::shared_ptr<velisand::detail::AnyFutureState> abandoned;
  {
    const MutexLock lock(mutex_);
    for (auto& each : waiters_) {
      if (each.get() == &waiter) left = each;
    }
    if (!left) return;
    std::erase(waiters_, left);
    if (waiters_.empty()) {
      flight_ = 0;
      abandoned = refreshing_.lock();
      refreshing_.reset();
    }
  }
  left->future().markFailure(HTTPResponseError::taskCancelled());
  if (abandoned) abandoned->cancel();
}

}  // namespace corvane::detail
