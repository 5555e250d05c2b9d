#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Loading/Internal/MetricsRecord.hpp"
#include "Platform/Loading/Internal/UploadFile.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform::detail {

class HTTPLoad;
class ProducedBody;

/// What a load came to.
struct LoadOutcome {
  /// Null when the head did not arrive completely.
  std::shared_ptr<const HTTPURLResponse> response;
  /// Decoded; what had arrived when it failed.
  Data body;
  std::optional<Error> error;
  /// It failed because no network leads to the host, and nothing was sent.
  bool lacksConnectivity = false;
  /// Whether a byte of the request may have left.
  bool requestWasSent = false;
};

/// Who a load is made for. Loop side.
class LoadOwner {
 public:
  /// What to send; stays as it is until the load ended or was withdrawn.
  virtual const URLRequest& requestToSend() const = 0;
  /// The file that the body is read from; null when the body is in the request, or there is none. Stays as
  /// `requestToSend` does.
  virtual UploadFile* bodyFile() = 0;
  /// The body that is made while it is sent; null when there is none.
  virtual ProducedBody* producedBody() = 0;
  /// Those that were followed before this load; null: none.
  virtual std::shared_ptr<const std::vector<URLRedirect>> redirects() const = 0;
  /// The final head is here; whether the body is wanted.
  virtual bool wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) = 0;
  /// What takes the wanted body: a null sink leaves it to the load, which keeps it in memory.
  virtual std::variant<BodySink*, LoadFailure> bodySink() = 0;
  /// How many bytes of the wanted body will come, as they come over the network; -1 when that is not known.
  virtual void bodyAnnounced(std::int64_t count) = 0;
  /// How many bytes of the request's or of the wanted body went over the network so far.
  virtual void bodySent(std::int64_t count) = 0;
  virtual void bodyReceived(std::int64_t count) = 0;
  /// Whether its responses may come from the cache, and go there: it wants whole bodies in memory.
  virtual bool usesCache() const = 0;
  /// What must live as long as anything is loaded on its behalf.
  virtual std::shared_ptr<void> keptAlive() const = 0;
  /// Once, at the end.
  virtual void loadEnded(LoadOutcome outcome) noexcept = 0;

  /// The load under way; kept by the loader.
  HTTPLoad* load = nullptr;
  /// Whether a request of the loads that have ended may have reached a server; kept by the loader.
  bool hasSent = false;
  /// How many challenges of the proxy the loads that have ended responded to, one after the other; kept by the loads.
  unsigned proxyChallenges = 0;
  /// Whether one of them was refused for an "Expect" (417); kept by the loads.
  bool expectationRefused = false;
  /// The loader adds to it whatever it did for the owner, before the owner is told of the end.
  MetricsRecord metricsRecord;

 protected:
  ~LoadOwner() = default;
};

}  // namespace platform::detail
