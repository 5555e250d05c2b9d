#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Metrics/ConnectionMetrics.hpp"

namespace platform {

/// Two moments, as the time since the start of the task (`TaskMetrics::start`), by a clock that is never set.
///
///     if (const auto& connect = metrics.transactions.back().connect)
///       show(std::chrono::duration<double, std::milli>(connect->length()).count());
struct MetricsInterval {
  /// The first moment.
  std::chrono::nanoseconds start{};
  /// The last moment; never before `start`.
  std::chrono::nanoseconds end{};

  /// From the first to the last moment.
  std::chrono::nanoseconds length() const { return end - start; }

  friend bool operator==(const MetricsInterval&, const MetricsInterval&) = default;
};

/// Bytes over the network, without the framing of TLS, of chunks and of HTTP/2's DATA frames.
///
///     const TransactionBytes& bytes = metrics.transactions.back().bytes;
///     show(bytes.requestHead + bytes.requestBody, bytes.responseHead + bytes.responseBody);
struct TransactionBytes {
  /// As sent; over HTTP/2 compressed (RFC 7541).
  std::uint64_t requestHead = 0;
  std::uint64_t requestBody = 0;
  /// Of the final head, as received; over HTTP/2 compressed.
  std::uint64_t responseHead = 0;
  /// In its content coding, also of a body that nobody wants, as far as it was read.
  std::uint64_t responseBody = 0;
  /// The response's body, decoded from its content coding. Absent for a stream with such a coding, which its reader
  /// decodes.
  std::optional<std::uint64_t> decodedBody = 0;

  friend bool operator==(const TransactionBytes&, const TransactionBytes&) = default;
};

/// One request on its way to a server, and the response to it. A task has one for each redirect, and one for each time
/// that a request was sent again.
///
/// A phase that did not take place is absent. One that was cut short, by a failure or a cancellation, ends with the
/// transaction. Moments are as exact as the iterations of the network loop: what happens in one iteration happens at
/// one moment.
struct TransactionMetrics {
  /// Why the request was sent.
  enum class Cause : std::uint8_t {
    request,             ///< the first one of the task
    redirect,            ///< a response led to it (RFC 9110, 15.4)
    brokenConnection,    ///< a reused connection broke before the response began, and the request may be repeated
    notProcessed,        ///< the server said that it did not process the request (HTTP/2)
    expectationRefused,  ///< once more, without the "Expect" that the server refused (417)
    downloadRestarted,   ///< once more for the whole file, since what was kept of it cannot be gone on with
    networkChanged,      ///< once more, since the network may lead to the host now
    notConfirmed,   ///< once more without conditions, since the server confirmed another version than the stored one
    proxyChallenge  ///< once more with the credentials that the proxy asked for (407)
  };

  /// Default: the first one of the task.
  Cause cause = Cause::request;
  /// Whether nothing was sent, since the cache had the response. A stored response that the server confirms (304) makes
  /// two of these: the request for that, and the use of what was stored. Has no phases, no connection, and of the bytes
  /// only `decodedBody`.
  bool isFromCache = false;
  /// Without user name, password and fragment, so that it can be logged. A query may hold secrets of its own.
  URL url;
  /// As it was sent, "GET" for example.
  std::string method;
  /// The status code of the response; absent if no final head arrived.
  std::optional<int> statusCode;

  /// From the moment when it was ready to be sent to its end. The first phase may begin later: requests wait for their
  /// turn, and for connections that others make.
  MetricsInterval time;
  /// The host name, or that of the proxy, was looked up. Absent for addresses, and for names that were known.
  std::optional<MetricsInterval> nameLookUp;
  /// Addresses were tried, until one connected and, where it is a proxy's, had made its tunnel.
  std::optional<MetricsInterval> connect;
  /// The TLS handshake, with the evaluation of the server.
  std::optional<MetricsInterval> secure;
  /// The request was sent: from its first byte to its last.
  std::optional<MetricsInterval> request;
  /// The response was received: from its final head to its last byte.
  std::optional<MetricsInterval> response;

  /// Null if there was none.
  std::shared_ptr<const ConnectionMetrics> connection;
  /// Whether the connection was there before, so that this transaction has no connection phases. Also true for one that
  /// waited while another one's connection was being made.
  bool isConnectionReused = false;
  /// How much was transferred.
  TransactionBytes bytes;
};

}  // namespace platform
