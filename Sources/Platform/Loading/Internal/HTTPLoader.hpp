#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Loading/HTTPCookieStorage.hpp"
#include "Platform/Loading/Internal/Caching/HTTPCacheStore.hpp"
#include "Platform/Loading/Internal/HTTPLoad.hpp"
#include "Platform/Loading/Internal/ProgressMeter.hpp"
#include "Platform/Loading/Internal/Revalidation.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::detail {

/// Loads http and https URLs for one session: its connections, its cookies, and the loads under way. Loop side only.
class HTTPLoader final : private networking::Deferred {
 public:
  HTTPLoader(networking::EventLoop& loop, const URLSessionConfiguration& configuration,
             networking::ConnectionPool::Challenge challenge);
  /// Requires: no load is under way.
  ~HTTPLoader() override;
  HTTPLoader(const HTTPLoader&) = delete;
  HTTPLoader& operator=(const HTTPLoader&) = delete;

  /// Starts a load for the owner, or queues it until there is room. Throws `std::bad_alloc`; the owner may have a load
  /// then, which it withdraws.
  void submit(LoadOwner& owner);
  /// Ends the owner's load, waiting or under way, without telling the owner.
  void withdraw(LoadOwner& owner);
  /// Lets the meter report at its due time what it holds back, unless that was arranged already.
  void scheduleReport(ProgressMeter& meter);
  void cancelReport(ProgressMeter& meter) { loop_.disarm(meter); }
  /// The verdict on a server: absent, it is trusted.
  void decide(const std::shared_ptr<const networking::TrustQuery>& query, const std::optional<Error>& rejection) {
    pool_.decide(query, rejection);
  }

  /// The session ends: what is stored goes, and nothing is stored any more.
  void dropCache() { cache_.reset(); }

  // For loads.
  /// Null: there is none.
  HTTPCacheStore* cache() { return cache_.get(); }
  bool hasSeveralLoads() const { return active_.size() > 1; }
  networking::EventLoop& loop() const { return loop_; }
  void sendToNetwork(HTTPLoad& load);
  /// To what stands in for the network; there is no turn to wait for.
  void sendToSource(HTTPLoad& load, networking::HTTPConnection& connection);
  networking::ConnectionPool& pool() { return pool_; }
  const URLSessionConfiguration& configuration() const { return configuration_; }
  /// Appends the value of a Cookie field, or nothing.
  void appendCookies(const RequestTarget& target, std::string& out);
  void storeCookies(const RequestTarget& target, const HTTPHeaderFields& fields);
  void end(HTTPLoad& load, LoadOutcome outcome) noexcept;
  /// Starts anew for its owner what has ended in vain.
  void submitAgain(HTTPLoad& load, TransactionMetrics::Cause cause) noexcept;

 private:
  void runDeferred() override;
  void validateLater(const HTTPLoad& load) noexcept;
  void refuse(HTTPLoad& load, Error error);
  HTTPLoad& takeLoad();
  void release(HTTPLoad& load);

  networking::EventLoop& loop_;
  const URLSessionConfiguration configuration_;
  /// Null: cookies are neither stored nor sent.
  const std::shared_ptr<HTTPCookieStorage> cookies_;
  std::unique_ptr<HTTPCacheStore> cache_;
  networking::ConnectionPool pool_;
  std::vector<std::unique_ptr<HTTPLoad>> active_;  ///< each knows its place
  std::vector<std::unique_ptr<HTTPLoad>> spare_;
  /// Owners of what cannot be sent, and why; told in the next iteration.
  std::deque<std::pair<LoadOwner*, Error>> refused_;
  /// Owners of what the cache has; served in the next iteration.
  std::deque<LoadOwner*> served_;
  std::vector<std::unique_ptr<Revalidation>> revalidations_;
};

}  // namespace platform::detail
