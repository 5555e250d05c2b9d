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

ZstdStage::ZstdStage() : context_(ZSTD_createDCtx()), piece_(std::make_unique_for_overwrite<std::byte[]>(pieceBytes)) {
  if (!context_ || ZSTD_isError(ZSTD_DCtx_setParameter(context_.get(), ZSTD_d_windowLogMax, greatestWindowLog))) {
    throw std::bad_alloc();
  }
}

std::optional<LoadFailure> ZstdStage::decode(Bytes input, const ByteConsumer& output) {
  ZSTD_inBuffer taken{input.data(), input.size(), 0};
  bool isPieceFull = false;
  while (taken.pos < taken.size || (isPieceFull && !isAtEndOfFrame_)) {
    ZSTD_outBuffer room{piece_.get(), pieceBytes, 0};
    const std::size_t result = ZSTD_decompressStream(context_.get(), &room, &taken);
    if (ZSTD_isError(result)) {
      if (ZSTD_getErrorCode(result) == ZSTD_error_memory_allocation) throw std::bad_alloc();
      return zstdProblem(std::string("is damaged: ") + ZSTD_getErrorName(result));
    }
    if (room.pos > 0) {
      if (auto failure = output(Bytes(piece_.get(), room.pos))) return failure;
    }
    isPieceFull = room.pos == room.size;
    isAtEndOfFrame_ = result == 0;
  }
  return std::nullopt;
}

std::optional<LoadFailure> ZstdStage::finish() {
  if (isAtEndOfFrame_) return std::nullopt;
  return zstdProblem("ends early");
}

}  // namespace platform::detail
