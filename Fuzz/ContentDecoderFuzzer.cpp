#include "Platform/Loading/Internal/ContentDecoder.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "CorvaneTesting/Compression.hpp"
#include "FuzzInput.hpp"
#include "Platform/Loading/CodingSamples.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::fuzz {

namespace {

using detail::Bytes;
using detail::ContentDecoder;
using detail::LoadFailure;

constexpr std::int64_t bound = 256 * 1024;

struct Decoding {
  std::string content;
  std::optional<LoadFailure> failure;
};

Bytes bytesOf(std::string_view text) { return {reinterpret_cast<const std::byte*>(text.data()), text.size()}; }

/// `seed` zero: in one piece.
Decoding decoded(std::string_view codings, std::string_view body, std::uint32_t seed) {
  Decoding result;
  HTTPHeaderFields fields;
  fields.add("Content-Encoding", codings);
  const HTTPHeaderFields requestFields{{"Accept-Encoding", "br, zstd"}};
  const auto keep = [&](Bytes bytes) -> std::optional<LoadFailure> {
    result.content.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return std::nullopt;
  };
  auto choice = ContentDecoder::make(requestFields, fields, {.maximumBytes = bound});
  require(choice.decoder && !choice.failure, "a known coding is refused");
  if (seed == 0) {
    result.failure = choice.decoder->decode(bytesOf(body), keep);
  } else {
    for (Pieces pieces(body, seed); !pieces.isAtEnd() && !result.failure;) {
      result.failure = choice.decoder->decode(bytesOf(pieces.next()), keep);
    }
  }
  if (!result.failure) result.failure = choice.decoder->finish();
  return result;
}

/// How much was passed on before a bound was hit depends on the pieces. Where several codings are damaged, so does
/// which of them is told: one sees its damage in the bytes that another passed on before it saw its own. Nothing else
/// does.
void requireSame(const Decoding& whole, const Decoding& cut, bool hasOneCoding) {
  require(whole.failure.has_value() == cut.failure.has_value(), "a cut decides whether decoding succeeds");
  if (!whole.failure) {
    require(whole.content == cut.content, "a cut changes the content");
    return;
  }
  const bool isBounded = whole.failure->code == URLErrorCode::dataLengthExceedsMaximum ||
                         cut.failure->code == URLErrorCode::dataLengthExceedsMaximum;
  require(isBounded || whole.failure->code == cut.failure->code, "a cut changes the failure");
  require(isBounded || !hasOneCoding || whole.failure == cut.failure, "a cut changes the message of the failure");
}

void requireKnownFailure(const Decoding& decoding) {
  require(decoding.content.size() <= static_cast<std::size_t>(bound), "more is decoded than allowed");
  if (!decoding.failure) return;
  require(decoding.failure->code == URLErrorCode::cannotDecodeContentData ||
              decoding.failure->code == URLErrorCode::dataLengthExceedsMaximum,
          "decoding fails with an undocumented error");
}

/// Another reader of gzip agrees, on what is accepted and on the content.
void compareWithTestSupport(std::string_view body, const Decoding& decoding) {
  if (body.empty()) return;
  if (decoding.failure && decoding.failure->code == URLErrorCode::dataLengthExceedsMaximum) return;
  std::optional<std::string> other;
  try {
    other = corvane::testkit::gunzipped(body);
  } catch (const std::runtime_error&) {
    // Damaged or cut off, as the comparison expects.
  }
  require(other.has_value() == !decoding.failure.has_value(), "two readers disagree whether gzip data is valid");
  require(!other || *other == decoding.content, "two readers see two contents");
}

/// What was encoded comes back.
void checkContent(std::string_view content, std::uint8_t choice) {
  using namespace corvane::testkit;
  const unsigned width = 9 + choice % 8;
  const Decoding results[] = {
      decoded("gzip", gzipped(content), choice),
      decoded("deflate", deflated(content), choice),
      decoded("compress", detail::lzwCompressed(content, width, choice % 2 == 0), choice),
      decoded("gzip, compress", detail::lzwCompressed(gzipped(content), width), choice),
  };
  for (const Decoding& result : results) {
    require(!result.failure && result.content == content, "what was encoded does not come back");
  }
}

/// The first byte chooses the codings, the second the cuts.
void check(std::string_view input) {
  constexpr std::string_view codings[] = {
      "gzip", "deflate", "compress", "gzip, deflate", "compress, gzip", "deflate, compress, identity, x-gzip",
      "br",   "zstd"};
  const std::uint8_t choice = takeByte(input);
  const std::uint8_t seed = takeByte(input);
  const std::string_view coding = codings[choice % std::size(codings)];
  const Decoding whole = decoded(coding, input, 0);
  const Decoding cut = decoded(coding, input, seed + 1U);
  requireKnownFailure(whole);
  requireKnownFailure(cut);
  requireSame(whole, cut, coding.find(',') == std::string_view::npos);
  if (coding == "gzip") compareWithTestSupport(input, whole);
  checkContent(input.substr(0, 512), seed);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
