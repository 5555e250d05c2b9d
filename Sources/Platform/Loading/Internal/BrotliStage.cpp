#include "Platform/Loading/Internal/BrotliStage.hpp"

#include <cstdint>
#include <new>
#include <string>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

LoadFailure brotliProblem(const std::string& detail) {
  return {URLErrorCode::cannotDecodeContentData, "the br data " + detail};
}

/// The allocation failures have codes of their own; see <brotli/decode.h>.
bool isOutOfMemory(BrotliDecoderErrorCode code) {
  return code <= BROTLI_DECODER_ERROR_ALLOC_CONTEXT_MODES && code >= BROTLI_DECODER_ERROR_ALLOC_BLOCK_TYPE_TREES;
}

}  // namespace

BrotliStage::BrotliStage()
    : state_(BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)),
      piece_(std::make_unique_for_overwrite<std::byte[]>(pieceBytes)) {
  if (!state_) throw std::bad_alloc();
}

std::optional<LoadFailure> BrotliStage::decode(Bytes input, const ByteConsumer& output) {
  if (isAtEnd_) return input.empty() ? std::nullopt : std::optional(brotliProblem("is damaged: bytes follow its end"));
  std::size_t inputLeft = input.size();
  const auto* next = reinterpret_cast<const std::uint8_t*>(input.data());
  for (;;) {
    std::size_t roomLeft = pieceBytes;
    auto* room = reinterpret_cast<std::uint8_t*>(piece_.get());
    const BrotliDecoderResult result =
        BrotliDecoderDecompressStream(state_.get(), &inputLeft, &next, &roomLeft, &room, nullptr);
    if (result == BROTLI_DECODER_RESULT_ERROR) {
      const BrotliDecoderErrorCode code = BrotliDecoderGetErrorCode(state_.get());
      if (isOutOfMemory(code)) throw std::bad_alloc();
      return brotliProblem(std::string("is damaged: ") + BrotliDecoderErrorString(code));
    }
    if (const Bytes decoded(piece_.get(), pieceBytes - roomLeft); !decoded.empty()) {
      if (auto failure = output(decoded)) return failure;
    }
    if (result == BROTLI_DECODER_RESULT_NEEDS_MORE_INPUT) return std::nullopt;
    if (result == BROTLI_DECODER_RESULT_SUCCESS) break;
  }
  isAtEnd_ = true;
  if (inputLeft > 0) return brotliProblem("is damaged: bytes follow its end");
  return std::nullopt;
}

std::optional<LoadFailure> BrotliStage::finish() {
  if (isAtEnd_) return std::nullopt;
  return brotliProblem("ends early");
}

}  // namespace platform::detail
