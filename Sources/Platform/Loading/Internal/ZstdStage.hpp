#pragma once

#include <zstd.h>

#include <memory>

#include "Platform/Loading/Internal/DecoderStage.hpp"

namespace platform::detail {

/// Undoes "zstd" (RFC 8878), any number of frames. The window is at most 8 MiB, as RFC 9659 demands of this coding.
/// Checksums are verified where a frame has one.
class ZstdStage final : public DecoderStage {
 public:
  ZstdStage();

  DecodedStep decode(Bytes& input, std::span<std::byte> room) override;
  std::optional<LoadFailure> finish() override;

 private:
  struct Destroy {
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
  };

  const std::unique_ptr<ZSTD_DCtx, Destroy> context_;
  bool wasRoomFull_ = false;
  bool isAtEndOfFrame_ = false;
};

}  // namespace platform::detail
