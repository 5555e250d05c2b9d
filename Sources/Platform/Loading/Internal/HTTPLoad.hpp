#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Loading/Internal/BodyMemory.hpp"
#include "Platform/Loading/Internal/CachedLoad.hpp"
#include "Platform/Loading/Internal/ContentDecoder.hpp"
#include "Platform/Loading/Internal/LoadOwner.hpp"
#include "Platform/Loading/Internal/ProducedBody.hpp"
#include "Platform/Loading/Internal/ProxiedLoad.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"
#include "Platform/Loading/Internal/SourcedLoad.hpp"
#include "Platform/Loading/Internal/UploadBody.hpp"
#include "Platform/Networking/Connecting/Proxy.hpp"
#include "Platform/Networking/Exchange.hpp"

namespace platform::detail {

class HTTPCacheStore;
class HTTPLoader;

/// One exchange as a task needs it: a URL request becomes a request head with cookies, and what comes back a response
/// with a decoded body within its bounds. Recycled. Loop side only.
class HTTPLoad final : private networking::ExchangeOwner, private ProducedBody::Listener {
 public:
  explicit HTTPLoad(HTTPLoader& loader);
  HTTPLoad(const HTTPLoad&) = delete;
  HTTPLoad& operator=(const HTTPLoad&) = delete;

  /// Composes what the owner wants to send. A failure says why that cannot be sent.
  std::optional<Error> prepare(LoadOwner& owner);
  /// Adds what became of it to the owner's metrics.
  void recordMetrics() const noexcept;
  /// Lets go of everything that belongs to one request.
  void recycle();
  /// Asks those that stand between the request and the network; they decide where it goes. Requires: there are some.
  void askSources();
  void sourcesDecided(SourceDecision decision) noexcept;
  /// What the cache has for it. It also decides what becomes of the response.
  CacheChoice askCache();
  /// Ends it with the stored response. Requires: the cache has one for it.
  void serveStored() noexcept;
  /// Null: none.
  std::shared_ptr<const CachedResponse> storedResponse() const { return cached_ ? cached_->stored : nullptr; }
  /// Ends it by a failure of ours.
  LoadOutcome abandon(Error error);

  /// Whether more of the response's body is wanted at the moment.
  void setReading(bool isWanted) { exchange_.setReading(isWanted); }

  networking::Exchange& exchange() { return exchange_; }
  const networking::Route& route() const { return proxied_ ? proxied_->route : target_.route(); }
  LoadOwner& owner() const { return *owner_; }
  const URLRequest& request() const { return *request_; }
  /// Where the loader keeps it while it is under way.
  std::size_t place = 0;

 private:
  const networking::RequestHead& requestHead() const override { return head_; }
  networking::RequestBody* requestBody() override { return sourced_ && sourced_->body ? &*sourced_->body : body_; }
  void requestGoesOut() noexcept override;
  networking::BodyDisposition responseHead(const networking::ResponseHeadView& head) override;
  bool responseBody(networking::Bytes bytes) override;
  std::span<std::byte> responseRoom(std::size_t count) override;
  bool responseFilled(std::size_t count) override;
  void requestBodySent(std::uint64_t total) override;
  void exchangeEnded(std::optional<networking::ExchangeProblem> problem) noexcept override;
  void exchangeRefused() noexcept override;

  void bodyAwaited() override { exchange_.bodyAwaited(); }
  void bodyReady() override { exchange_.bodyReady(); }

  CacheChoice askStore(HTTPCacheStore& store, const CacheRequest& request);
  void addConditions();
  bool cacheTakesHead(int statusCode, const HTTPHeaderFields& fields);
  void confirmStored(const HTTPHeaderFields& fields);
  void removeStored();
  void invalidateStored(const HTTPHeaderFields& fields);
  bool cacheStandsFor(const std::optional<networking::ExchangeProblem>& problem) const;
  void storeResponse(const Data& body) noexcept;
  std::string cacheKey() const;
  std::string_view ownHost() const;
  ResponseTimes responseTimes() const;
  void presentStored(LoadOutcome& outcome);
  void goToNetwork(std::shared_ptr<ExchangeTap> tap);
  void goToSource(std::shared_ptr<ExchangeResponder> responder);
  ExchangeTap* tap() const { return sourced_ ? sourced_->tap.get() : nullptr; }
  void chooseRoute();
  bool isForwarded() const { return proxied_ && proxied_->route.way == networking::Route::Way::forwarded; }
  const networking::Proxy& proxy() const;
  void chooseBody();
  void composeFields();
  void authorizeAtProxy();
  void authorizeByDigest();
  bool mayTellPeer(std::string_view name) const;
  std::optional<networking::Bytes> bodyInMemory() const;
  bool respondsToProxy(const networking::ResponseHeadView& head);
  bool isWantedByProxy(const std::optional<networking::ExchangeProblem>& problem) const;
  bool canRespondToProxy(const std::optional<networking::ExchangeProblem>& problem);
  void addField(std::string_view name, std::string_view value) { fields_.push_back({name, value}); }
  bool expectBody(const networking::ResponseHeadView& head);
  bool isWithinLimit(std::size_t count);
  std::int64_t bodyLimit() const;
  std::optional<LoadFailure> store(Bytes bytes);
  bool fail(LoadFailure failure);
  void judge(std::optional<networking::ExchangeProblem>& problem, bool& lacksConnectivity);
  Error errorOf(networking::ExchangeProblem& problem, bool& lacksConnectivity);
  Error errorOfProducedBody(const networking::ExchangeProblem& problem) const;

  HTTPLoader& loader_;
  networking::Exchange exchange_;

  // The request.
  LoadOwner* owner_ = nullptr;
  const URLRequest* request_ = nullptr;
  RequestTarget target_;
  /// Null where the session has no proxy.
  std::unique_ptr<ProxiedLoad> proxied_;
  networking::RequestHead head_;
  std::vector<networking::FieldView> fields_;
  std::string cookies_;
  MemoryBody memoryBody_;
  FileBody fileBody_;
  ProducedBody* producedBody_ = nullptr;
  networking::RequestBody* body_ = nullptr;
  /// Null but in tests.
  std::unique_ptr<SourcedLoad> sourced_;
  /// Null where the cache has nothing for it.
  std::unique_ptr<CachedLoad> cached_;

  // The response.
  std::shared_ptr<const HTTPURLResponse> response_;
  bool wantsBody_ = false;
  CacheRole cacheRole_ = CacheRole::none;
  std::uint64_t invalidationsBefore_ = 0;
  BodySink* sink_ = nullptr;
  std::unique_ptr<ContentDecoder> decoder_;
  BodyMemory received_;
  std::int64_t receivedBytes_ = 0;
  std::uint64_t decodedBytes_ = 0;
  std::optional<int> statusCode_;
  std::optional<Error> failure_;
};

}  // namespace platform::detail
