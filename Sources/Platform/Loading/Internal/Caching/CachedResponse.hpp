#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/Internal/Caching/CacheControl.hpp"
#include "Platform/Loading/Internal/Caching/CacheTime.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/RequestHead.hpp"

namespace platform::detail {

/// The header fields of a request, as they are sent.
using RequestFields = std::span<const networking::FieldView>;

/// When a response was made and received.
struct ResponseTimes {
  CacheTime received = {};
  /// For how many seconds it was waited for.
  std::int64_t delay = 0;
  /// Of two responses the one that was asked for later is newer.
  networking::TimePoint requested = {};
};

/// A response as it was received.
struct ReceivedResponse {
  int statusCode = 200;
  std::string httpVersion;
  HTTPHeaderFields fields;
  /// Without its content codings.
  Data body;
  ResponseTimes times = {};
};

/// A stored response. Never changed; for any thread.
class CachedResponse {
 public:
  /// Null where the response must not be stored, or would be of no use: RFC 9111, 3. Requires: it is complete, and the
  /// response of a GET without a "Range" and without conditions.
  static std::shared_ptr<const CachedResponse> of(ReceivedResponse response, RequestFields request);

  /// This one with the fields of the 304 that confirmed it for a request (RFC 9111, 3.2 and 4.3.4). The 304 may forbid
  /// to go on storing it: see `mayBeStored`.
  std::shared_ptr<const CachedResponse> refreshed(const HTTPHeaderFields& fields, RequestFields request,
                                                  const ResponseTimes& times) const;
  /// False only for one that was refreshed: it must not be stored any more, or is of no use.
  bool mayBeStored() const;

  /// Whether it was made for requests like this one: with the same fields where "Vary" names them (RFC 9111, 4.1), and
  /// with the same "Authorization" and "Cookie", whatever "Vary" says: an application that signs in as somebody else
  /// sees nothing of the one before.
  bool isFor(RequestFields request) const;
  /// Whether the server can be asked if it is still good.
  bool hasValidator() const { return entityTag() || lastModified(); }
  std::optional<std::string> entityTag() const { return response_.fields.value("ETag"); }
  std::optional<std::string> lastModified() const { return response_.fields.value("Last-Modified"); }

  /// In seconds.
  std::int64_t age(const CacheTime& now) const { return initialAge_ + now.since(response_.times.received); }
  /// For how many seconds it will be fresh; negative: for how many it has been stale.
  std::int64_t freshFor(const CacheTime& now) const { return lifetime_ - age(now); }

  int statusCode() const { return response_.statusCode; }
  const std::string& httpVersion() const { return response_.httpVersion; }
  /// Those that belong to the response and not to its connection.
  const HTTPHeaderFields& fields() const { return response_.fields; }
  /// `fields` with the present "Age" (RFC 9111, 5.1).
  HTTPHeaderFields fieldsAt(const CacheTime& now) const;
  const Data& body() const { return response_.body; }
  const CacheControl& control() const { return control_; }
  networking::TimePoint requested() const { return response_.times.requested; }
  /// The memory that it takes.
  std::size_t bytes() const { return bytes_; }

 private:
  /// A field of the request that the response was made for; absent: it had none.
  using Selecting = std::pair<std::string, std::optional<std::string>>;

  CachedResponse(ReceivedResponse response, std::vector<Selecting> selecting);
  static std::shared_ptr<const CachedResponse> make(ReceivedResponse response, RequestFields request);
  static std::vector<Selecting> selecting(const HTTPHeaderFields& fields, RequestFields request);

  const ReceivedResponse response_;
  const std::vector<Selecting> selecting_;
  const CacheControl control_;
  const std::int64_t lifetime_;
  const std::int64_t initialAge_;
  const std::size_t bytes_;
};

}  // namespace platform::detail
