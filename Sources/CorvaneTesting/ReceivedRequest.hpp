#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CorvaneTesting/HeaderField.hpp"

namespace corvane::testkit {

/// A request as received.
struct ReceivedRequest {
  /// As in the request line.
  std::string method;
  /// As in the request line: percent-encoded, with the query.
  std::string target;
  /// The version of HTTP: "HTTP/1.1".
  std::string version;
  /// In the order and spelling of the sender.
  std::vector<HeaderField> headers;
  /// The request line and all header lines, byte for byte, empty line included.
  std::string head;
  /// The content, joined from its chunks. Empty when the server discards bodies.
  std::string body;
  /// The number of bytes of content that arrived.
  std::uint64_t bodySize = 0;
  /// Whether the content came in chunks.
  bool isChunked = false;
  /// The fields after the last chunk.
  std::vector<HeaderField> trailers;

  /// The number of its connection, counted from 1.
  int connectionNumber = 0;
  /// The number of the request on its connection, counted from 1.
  int indexOnConnection = 0;
  /// The local address that the client connected to.
  std::string localAddress;
  /// The server name (SNI) of the TLS handshake; empty without TLS or without SNI.
  std::string sni;
  /// "TLSv1.2", "TLSv1.3"; empty on a plain connection.
  std::string tlsVersion;

  /// The target's path, as sent.
  std::string path() const;
  /// The target's query, as sent, without the question mark; absent when there is no question mark.
  std::optional<std::string> query() const;
  /// The decoded value of the first query item of that name; absent without such an item.
  std::optional<std::string> queryValue(std::string_view name) const;
  /// The value of the first field of that name, without regard to case; absent without such a field.
  std::optional<std::string> header(std::string_view name) const;
  /// The values of all fields of that name, without regard to case, in order.
  std::vector<std::string> headerValues(std::string_view name) const;
  /// Whether there is a field of that name, without regard to case.
  bool hasHeader(std::string_view name) const { return header(name).has_value(); }
};

}  // namespace corvane::testkit
