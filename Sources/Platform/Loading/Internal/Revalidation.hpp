#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Loading/Internal/Caching/CachedResponse.hpp"
#include "Platform/Loading/Internal/LoadOwner.hpp"

namespace platform::detail {

/// Validates a stored response that was returned stale (RFC 5861, 3). Nobody waits for it, nobody is told of it, and
/// nothing but the end of the session cancels it: what it comes to is in the cache. Loop side only.
class Revalidation final : public LoadOwner {
 public:
  /// `done` is called once, at the end, and may destroy it.
  using Done = UniqueFunction<void(Revalidation&)>;

  Revalidation(const URLRequest& request, std::shared_ptr<const CachedResponse> stored, std::shared_ptr<void> keptAlive,
               Done done)
      : request_(request), stored_(std::move(stored)), keptAlive_(std::move(keptAlive)), done_(std::move(done)) {
    request_.cachePolicy = URLRequestCachePolicy::reloadRevalidatingCacheData;
    // These name the exchange of the application, which is another one.
    request_.allHTTPHeaderFields.remove("traceparent");
    request_.allHTTPHeaderFields.remove("tracestate");
  }
  /// A longer one cannot be stored.
  void limitBody(std::int64_t count) {
    request_.maximumBodyBytes = std::min(count, request_.maximumBodyBytes.value_or(count));
  }
  const std::shared_ptr<const CachedResponse>& stored() const { return stored_; }

  const URLRequest& requestToSend() const override { return request_; }
  UploadFile* bodyFile() override { return nullptr; }
  ProducedBody* producedBody() override { return nullptr; }
  std::shared_ptr<const std::vector<URLRedirect>> redirects() const override { return nullptr; }
  bool wantsBody(const std::shared_ptr<const HTTPURLResponse>&) override { return true; }
  std::variant<BodySink*, LoadFailure> bodySink() override { return nullptr; }
  void bodyAnnounced(std::int64_t) override {}
  void bodySent(std::int64_t) override {}
  void bodyReceived(std::int64_t) override {}
  bool usesCache() const override { return true; }
  std::shared_ptr<void> keptAlive() const override { return keptAlive_; }
  void loadEnded(LoadOutcome) noexcept override {
    Done done = std::move(done_);
    done(*this);
  }

 private:
  URLRequest request_;
  const std::shared_ptr<const CachedResponse> stored_;
  const std::shared_ptr<void> keptAlive_;
  Done done_;
};

}  // namespace platform::detail
