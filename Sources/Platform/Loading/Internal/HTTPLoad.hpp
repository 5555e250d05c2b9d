#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Loading/Internal/BodyMemory.hpp"
#include "Platform/Loading/Internal/ContentDecoder.hpp"
#include "Platform/Loading/Internal/LoadOwner.hpp"
#include "Platform/Loading/Internal/RequestTarget.hpp"
#include "Platform/Loading/Internal/UploadBody.hpp"
#include "Platform/Networking/Exchange.hpp"

namespace platform::detail {

class HTTPLoader;

/// One exchange as a task needs it: a URL request becomes a request head with cookies, and what comes back a response
/// with a decoded body within its bounds. Recycled. Loop side only.
class HTTPLoad final : private networking::ExchangeOwner {
 public:
  explicit HTTPLoad(HTTPLoader& loader);
  HTTPLoad(const HTTPLoad&) = delete;
  HTTPLoad& operator=(const HTTPLoad&) = delete;

  /// Composes what the owner wants to send. A failure says why that cannot be sent.
  std::optional<Error> prepare(LoadOwner& owner);
  /// Lets go of everything that belongs to one request.
  void recycle();
  /// Ends it by a failure of ours.
  LoadOutcome abandon(Error error);

  networking::Exchange& exchange() { return exchange_; }
  const networking::Route& route() const { return target_.route(); }
  LoadOwner& owner() const { return *owner_; }
  const URLRequest& request() const { return *request_; }
  /// Where the loader keeps it while it is under way.
  std::size_t place = 0;

 private:
  const networking::RequestHead& requestHead() const override { return head_; }
  networking::RequestBody* requestBody() override { return body_; }
  networking::BodyDisposition responseHead(const networking::ResponseHeadView& head) override;
  bool responseBody(networking::Bytes bytes) override;
  std::span<std::byte> responseRoom(std::size_t count) override;
  bool responseFilled(std::size_t count) override;
  void requestBodySent(std::uint64_t total) override;
  void exchangeEnded(std::optional<networking::ExchangeProblem> problem) noexcept override;
  void exchangeRefused() noexcept override;

  void chooseBody();
  void composeFields();
  void addField(std::string_view name, std::string_view value) { fields_.push_back({name, value}); }
  bool expectBody(const networking::ResponseHeadView& head);
  bool isWithinLimit(std::size_t count);
  std::int64_t bodyLimit() const;
  std::optional<LoadFailure> store(Bytes bytes);
  bool fail(LoadFailure failure);
  void judge(std::optional<networking::ExchangeProblem>& problem, bool& lacksConnectivity);
  Error errorOf(networking::ExchangeProblem& problem, bool& lacksConnectivity);
  void finish();

  HTTPLoader& loader_;
  networking::Exchange exchange_;

  // The request.
  LoadOwner* owner_ = nullptr;
  const URLRequest* request_ = nullptr;
  RequestTarget target_;
  networking::RequestHead head_;
  std::vector<networking::FieldView> fields_;
  std::string cookies_;
  MemoryBody memoryBody_;
  FileBody fileBody_;
  networking::RequestBody* body_ = nullptr;

  // The response.
  std::shared_ptr<const HTTPURLResponse> response_;
  bool wantsBody_ = false;
  BodySink* sink_ = nullptr;
  std::unique_ptr<ContentDecoder> decoder_;
  BodyMemory received_;
  std::int64_t receivedBytes_ = 0;
  std::optional<Error> failure_;
};

}  // namespace platform::detail
