#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/RequestHead.hpp"

namespace platform::networking {

/// The fields of the head or of the trailers that arrive at the moment. One for a connection, as header blocks are
/// never interleaved (RFC 9113, 4.3); its memory is used again.
class HTTP2HeaderBlock {
 public:
  /// Of all heads and trailers of a response together, each field with 32 bytes of overhead (RFC 9113, 6.5.2).
  static constexpr std::size_t maximumBytes = std::size_t{256} * 1024;
  static constexpr std::size_t overheadBytes = 32;

  void begin();
  /// Adds a field, and its bytes to `total`. What is wrong with it, as a sentence for developers: forbidden characters,
  /// a field of the connection (RFC 9113, 8.2), or too many bytes.
  std::optional<std::string_view> add(std::string_view name, std::string_view value, std::size_t& total);

  /// Of the pseudo field `:status`; 0 when there is none.
  int statusCode() const { return statusCode_; }
  /// Of `content-length`; -1 when there is none.
  std::int64_t contentLength() const { return contentLength_; }
  /// How many bytes it was on the network, for whoever asks: told once it is complete.
  std::size_t wireBytes() const { return wireBytes_; }
  void setWireBytes(std::size_t count) { wireBytes_ = count; }
  /// Without pseudo fields, in the order in which they came. They live until `begin`.
  std::span<const FieldView> fields();

 private:
  struct Entry {
    std::uint32_t nameBytes = 0;
    std::uint32_t valueBytes = 0;
  };

  std::string text_;
  std::vector<Entry> entries_;
  std::vector<FieldView> fields_;
  std::size_t wireBytes_ = 0;
  int statusCode_ = 0;
  std::int64_t contentLength_ = -1;
};

}  // namespace platform::networking
