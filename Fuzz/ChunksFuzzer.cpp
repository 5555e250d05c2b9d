#include "Platform/Loading/Internal/Chunks.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "CorvaneTesting/Internal/RequestReader.hpp"
#include "FuzzInput.hpp"
#include "ScriptedStream.hpp"

namespace platform::fuzz {

namespace {

using detail::joinedChunks;

std::string chunksOf(std::string_view content, std::uint32_t seed, std::string_view extension) {
  std::string body;
  for (Pieces pieces(content, seed); !pieces.isAtEnd();) {
    const std::string_view piece = pieces.next();
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, piece.size(), 16).ptr;
    body.append(digits, end).append(extension).append("\r\n").append(piece).append("\r\n");
  }
  return body + "0\r\n\r\n";
}

/// Whatever the content, it comes back from any chunks, whole, and not before their end is here.
void checkContent(std::string_view content, std::uint32_t seed) {
  const std::string body = chunksOf(content, seed, seed % 2 == 0 ? "" : ";name=\"value\"");
  require(joinedChunks(body) == content, "content does not come back from its chunks");
  require(joinedChunks(body + "HTTP/1.1 200 OK\r\n\r\n") == content, "what follows the chunks changes the content");
  const std::size_t most = body.size() - 1;
  for (std::size_t length = most - std::min<std::size_t>(most, 16); length <= most; ++length) {
    require(!joinedChunks(std::string_view(body).substr(0, length)), "chunks are taken for complete before their end");
  }
}

/// What the test server's reader makes of the same body; absent when it refuses it.
std::optional<std::string> readByServer(std::string_view body) {
  namespace support = corvane::testing::detail;
  const std::string request = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n" + std::string(body);
  ScriptedStream stream(request, static_cast<std::uint32_t>(body.size()));
  support::RequestReader reader(stream);
  std::string content;
  try {
    auto received = reader.readHead();
    while (const auto piece = reader.readBodyPiece(*received)) content += *piece;
  } catch (const support::BadRequest&) {
    return std::nullopt;
  } catch (const support::ConnectionOver&) {
    return std::nullopt;
  }
  return content;
}

void checkBody(std::string_view body) {
  const auto content = joinedChunks(body);
  if (!content) return;
  require(content->size() + 5 <= body.size(), "chunks have more content than bytes");
  require(joinedChunks(std::string(body) + "more") == content, "what follows the chunks changes the content");
  const auto other = readByServer(body);
  require(!other || other == content, "two readers see two bodies");
}

/// The first byte chooses the cuts.
void check(std::string_view input) {
  const std::uint8_t seed = takeByte(input);
  checkContent(input, seed);
  checkBody(input);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
