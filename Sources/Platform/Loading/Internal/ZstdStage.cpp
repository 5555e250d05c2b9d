#include "Platform/Loading/Internal/ZstdStage.hpp"

#include <zstd_errors.h>

#include <new>
#include <string>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

constexpr int greatestWindowLog = 23;  // 8 MiB, RFC 9659, 3

LoadFailure zstdProblem(const std::string& detail) {
  return {URLErrorCode::cannotDecodeContentData, "the zstd data " + detail};
}

}  // namespace

ZstdStage::ZstdStage() : context_(ZSTD_createDCtx()) {
  if (!context_ || ZSTD_isError(ZSTD_DCtx_setParameter(context_.get(), ZSTD_d_windowLogMax, greatestWindowLog))) {
    throw std::bad_alloc();
  }
}

DecodedStep ZstdStage::decode(Bytes& input, std::span<std::byte> room) {
  ZSTD_inBuffer taken{input.data(), input.size(), 0};
  ZSTD_outBuffer out{room.data(), room.size(), 0};
  bool mayHoldBytes = wasRoomFull_ && !isAtEndOfFrame_;
  while (out.pos == 0 && (taken.pos < taken.size || mayHoldBytes)) {
    const std::size_t result = ZSTD_decompressStream(context_.get(), &out, &taken);
    if (ZSTD_isError(result)) {
      if (ZSTD_getErrorCode(result) == ZSTD_error_memory_allocation) throw std::bad_alloc();
      return {0, zstdProblem(std::string("is damaged: ") + ZSTD_getErrorName(result))};
    }
    isAtEndOfFrame_ = result == 0;
    mayHoldBytes = false;
  }
  wasRoomFull_ = out.pos == out.size;
  input = input.subspan(taken.pos);
  return {out.pos, std::nullopt};
}

std::optional<LoadFailure> ZstdStage::finish() {
  if (isAtEndOfFrame_) return std::nullopt;
  return zstdProblem("ends early");
}

}  // namespace platform::detail
