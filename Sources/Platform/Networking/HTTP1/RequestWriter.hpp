#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "Platform/Networking/RequestHead.hpp"

namespace platform::networking {

/// How the end of a request's body is told (RFC 9112, 6).
enum class RequestFraming : std::uint8_t {
  none,     ///< there is no body, and none is announced
  length,   ///< Content-Length
  chunked,  ///< the length is not known beforehand
  refused   ///< the request cannot be sent as it is
};

/// Composes the heads of requests for HTTP/1.1 (RFC 9112, 3 and 5), one after the other in the same memory.
class RequestWriter {
 public:
  static constexpr std::string_view lineEnd = "\r\n";

  /// Refuses what would be read as something else than it is: a method or field name that is no token, a space in the
  /// target, a CR, LF or NUL anywhere.
  RequestFraming compose(const RequestHead& head, bool hasBody);
  /// What was composed last, with the blank line at its end.
  std::string_view text() const { return {memory_.get(), size_}; }
  /// Whether the request itself asks for the end of the connection (RFC 9112, 9.6).
  bool saysClose() const { return saysClose_; }
  /// Gives the memory back if it is more than ordinary heads need.
  void shrink();

 private:
  static constexpr std::size_t ordinaryBytes = 1024;

  void makeRoom(std::size_t bytes);
  void put(std::string_view text);
  void putField(std::string_view name, std::string_view value);

  std::unique_ptr<char[]> memory_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
  bool saysClose_ = false;
};

}  // namespace platform::networking
