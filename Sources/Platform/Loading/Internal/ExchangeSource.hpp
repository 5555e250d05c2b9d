#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <typeinfo>
#include <variant>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Networking/Failure.hpp"

namespace platform::detail {

/// A request as a source sees it.
struct SourcedRequest {
  std::string method;
  URL url;
  /// As they would be sent, but for those that a connection adds ("Host", "Content-Length").
  HTTPHeaderFields fields;
  /// A body in memory. That of a file or a stream comes when it was sent.
  Data body;
  /// Null where the request has none.
  const std::type_info* type = nullptr;
  /// Within which there must be a connection, or else the request times out.
  double secondsToConnect = std::numeric_limits<double>::infinity();
};

/// Nothing came for so long that the request's time-out passed.
struct SourcedTimeout {};

/// What a source responds with.
struct SourcedResponse {
  static constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

  int status = 200;
  HTTPHeaderFields fields;
  /// As it goes over the network: content codings are undone as always.
  Data body;
  /// How the exchange ends where the response is not complete.
  std::variant<std::monostate, Error, networking::Failure, SourcedTimeout> problem;
  /// Whether the head comes before the problem does.
  bool hasHead = true;
  /// After how many bytes of the body the problem comes.
  std::size_t bytesBeforeProblem = never;
};

/// Responds to one request. It is asked once, on the loop.
class ExchangeResponder {
 public:
  using Respond = UniqueFunction<void(SourcedResponse)>;

  virtual ~ExchangeResponder() = default;
  /// The request has been sent, with this body. `respond` is called once, on any thread, now or later; it may also be
  /// dropped when the exchange is over by then.
  virtual void requestSent(Data body, Respond respond) = 0;
};

/// Hears what the network responds. Loop side.
class ExchangeTap {
 public:
  virtual ~ExchangeTap() = default;
  /// So many bytes of the request's body were read. Again from the first, where `begins`.
  virtual void requestBody(std::span<const std::byte> bytes, bool begins) = 0;
  virtual void responseHead(int status, const HTTPHeaderFields& fields) = 0;
  /// As it came over the network.
  virtual void responseBody(std::span<const std::byte> bytes) = 0;
  /// Absent: the response is complete. Not called for an exchange that was cancelled.
  virtual void ended(const std::optional<Error>& error) = 0;
};

/// The network is to respond.
struct FromNetwork {
  /// Null: nobody listens.
  std::shared_ptr<ExchangeTap> tap;
};

/// Who responds; an error is that of the exchange, and so is a failure, of which nothing was sent.
using SourceDecision = std::variant<FromNetwork, std::shared_ptr<ExchangeResponder>, Error, networking::Failure>;

/// A body without its content codings; absent where it has none, or where they cannot be undone.
CORVANE_API std::optional<Data> decodedContent(const HTTPHeaderFields& requestFields,
                                               const HTTPHeaderFields& responseFields, const Data& body);

/// Responds to requests in place of the network, as tests want it.
class ExchangeSource {
 public:
  using Decide = UniqueFunction<void(SourceDecision)>;

  virtual ~ExchangeSource() = default;
  /// Called on the loop, or on the thread on which another source decided. `decide` is called once, on any thread, now
  /// or later.
  virtual void ask(std::shared_ptr<const SourcedRequest> request, Decide decide) = 0;
};

}  // namespace platform::detail
