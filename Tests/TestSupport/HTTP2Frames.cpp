#include "TestSupport/HTTP2Frames.hpp"

namespace corvane::testkit::http2 {

namespace {

constexpr std::string_view clientPreface = "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n";
constexpr std::size_t frameHeaderBytes = 9;

/// A length with a prefix of seven bits (RFC 7541, 5.1).
std::string length(std::size_t value) {
  if (value < 127) return {static_cast<char>(value)};
  std::string result(1, '\x7f');
  for (value -= 127; value >= 128; value >>= 7) result.push_back(static_cast<char>(value % 128 + 128));
  result.push_back(static_cast<char>(value));
  return result;
}

std::uint32_t bigEndian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

}  // namespace

std::string number(std::uint64_t value, int bytes) {
  std::string result;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) result.push_back(static_cast<char>(value >> shift & 0xff));
  return result;
}

std::string frame(std::uint8_t type, std::uint8_t flags, std::uint32_t stream, std::string_view payload) {
  std::string result = number(payload.size(), 3);
  result.push_back(static_cast<char>(type));
  result.push_back(static_cast<char>(flags));
  return result.append(number(stream, 4)).append(payload);
}

std::string block(const std::vector<std::pair<std::string, std::string>>& fields) {
  std::string result;
  for (const auto& [name, value] : fields) {
    result.push_back('\0');
    result.append(length(name.size())).append(name).append(length(value.size())).append(value);
  }
  return result;
}

std::string head(std::uint32_t stream, const std::vector<std::pair<std::string, std::string>>& fields,
                 std::uint8_t flags) {
  return frame(headers, static_cast<std::uint8_t>(flags | endHeaders), stream, block(fields));
}

std::string body(std::uint32_t stream, std::string_view bytes, std::uint8_t flags) {
  return frame(data, flags, stream, bytes);
}

std::string preface(const std::vector<std::pair<std::uint16_t, std::uint32_t>>& entries) {
  std::string payload;
  for (const auto& [identifier, value] : entries) payload.append(number(identifier, 2)).append(number(value, 4));
  return frame(settings, 0, 0, payload);
}

std::string reset(std::uint32_t stream, std::uint32_t code) { return frame(rstStream, 0, stream, number(code, 4)); }

std::string away(std::uint32_t lastStream, std::uint32_t code) {
  return frame(goAway, 0, 0, number(lastStream, 4) + number(code, 4));
}

std::vector<Frame> parsed(std::string_view written) {
  if (written.starts_with(clientPreface)) written.remove_prefix(clientPreface.size());
  std::vector<Frame> frames;
  while (written.size() >= frameHeaderBytes) {
    const std::size_t payload = bigEndian(written.substr(0, 3));
    if (written.size() < frameHeaderBytes + payload) break;
    frames.push_back({static_cast<std::uint8_t>(written[3]), static_cast<std::uint8_t>(written[4]),
                      bigEndian(written.substr(5, 4)), std::string(written.substr(frameHeaderBytes, payload))});
    written.remove_prefix(frameHeaderBytes + payload);
  }
  return frames;
}

}  // namespace corvane::testkit::http2
