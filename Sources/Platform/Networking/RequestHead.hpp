#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace platform::networking {

/// One header field, as it is sent or was received. Its maker owns the text.
struct FieldView {
  std::string_view name;
  std::string_view value;
};

/// What a request says before its body. Owns nothing: the texts live as long as the exchange that sends it.
struct RequestHead {
  /// A token, checked by its maker (RFC 9110, 9.1).
  std::string_view method;
  bool isSecure = false;
  /// Host and port for the `Host` field, or `:authority`: the port is left out when it is the scheme's own.
  std::string_view authority;
  /// Path and query in origin form, beginning with "/", or "*" (RFC 9112, 3.2).
  std::string_view target;
  /// In the order in which they are sent, checked (RFC 9110, 5). Without Host, Content-Length, Transfer-Encoding and
  /// Connection, which the connection writes; a `Host` field here replaces `authority`.
  std::span<const FieldView> fields;
  /// The length that is announced for the body. Absent: there is no body, and none is announced; with a body whose
  /// length is unknown (`RequestBody::length`), HTTP/1.1 sends chunks.
  std::optional<std::uint64_t> contentLength;
};

}  // namespace platform::networking
