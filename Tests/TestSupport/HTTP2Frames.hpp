#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvane::testkit::http2 {

/// Frames of HTTP/2, byte by byte (RFC 9113, 6): for servers that do what no library lets them do.

inline constexpr std::uint8_t endStream = 0x1;
inline constexpr std::uint8_t ack = 0x1;
inline constexpr std::uint8_t endHeaders = 0x4;
inline constexpr std::uint8_t padded = 0x8;

enum Type : std::uint8_t {
  data,
  headers,
  priority,
  rstStream,
  settings,
  pushPromise,
  ping,
  goAway,
  windowUpdate,
  continuation
};

/// Big-endian, of so many bytes.
std::string number(std::uint64_t value, int bytes);
std::string frame(std::uint8_t type, std::uint8_t flags, std::uint32_t stream, std::string_view payload = {});
/// Fields in HPACK, without indexing and without Huffman codes (RFC 7541, 6.2.2).
std::string block(const std::vector<std::pair<std::string, std::string>>& fields);
/// A whole head: HEADERS with `endHeaders`.
std::string head(std::uint32_t stream, const std::vector<std::pair<std::string, std::string>>& fields,
                 std::uint8_t flags = 0);
std::string body(std::uint32_t stream, std::string_view bytes, std::uint8_t flags = 0);
/// What each server begins with: SETTINGS, here with so many entries of (identifier, value).
std::string preface(const std::vector<std::pair<std::uint16_t, std::uint32_t>>& entries = {});
std::string reset(std::uint32_t stream, std::uint32_t code);
std::string away(std::uint32_t lastStream, std::uint32_t code = 0);

/// A frame, as a client wrote it.
struct Frame {
  std::uint8_t type = 0;
  std::uint8_t flags = 0;
  std::uint32_t stream = 0;
  std::string payload;
};

/// The frames of a client's bytes; skips the preface's text. Ends at an incomplete frame.
std::vector<Frame> parsed(std::string_view written);

}  // namespace corvane::testkit::http2
