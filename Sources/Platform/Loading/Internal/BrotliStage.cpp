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

BrotliStage::BrotliStage() : state_(BrotliDecoderCreateInstance(nullptr, nullptr, nullptr)) {
  if (!state_) throw std::bad_alloc();
}

DecodedStep BrotliStage::decode(Bytes& input, std::span<std::byte> room) {
  if (isAtEnd_) {
    if (input.empty()) return {};
    return {0, brotliProblem("is damaged: bytes follow its end")};
  }
  std::size_t inputLeft = input.size();
  std::size_t roomLeft = room.size();
  const auto* next = reinterpret_cast<const std::uint8_t*>(input.data());
  auto* out = reinterpret_cast<std::uint8_t*>(room.data());
  const BrotliDecoderResult result =
      BrotliDecoderDecompressStream(state_.get(), &inputLeft, &next, &roomLeft, &out, nullptr);
  if (result == BROTLI_DECODER_RESULT_ERROR) {
    const BrotliDecoderErrorCode code = BrotliDecoderGetErrorCode(state_.get());
    if (isOutOfMemory(code)) throw std::bad_alloc();
    return {0, brotliProblem(std::string("is damaged: ") + BrotliDecoderErrorString(code))};
  }
  input = input.last(inputLeft);
  DecodedStep step{room.size() - roomLeft, std::nullopt};
  isAtEnd_ = result == BROTLI_DECODER_RESULT_SUCCESS;
  if (isAtEnd_ && !input.empty()) step.failure = brotliProblem("is damaged: bytes follow its end");
  return step;
}

std::optional<LoadFailure> BrotliStage::finish() {
  if (isAtEnd_) return std::nullopt;
  return brotliProblem("ends early");
}

}  // namespace platform::detail
