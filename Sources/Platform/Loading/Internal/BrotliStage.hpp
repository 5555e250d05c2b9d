#pragma once

#include <brotli/decode.h>

#include <memory>

#include "Platform/Loading/Internal/DecoderStage.hpp"

namespace platform::detail {

/// Undoes "br" (RFC 7932), with windows of at most 16 MiB. Bytes after the end of the stream are refused.
class BrotliStage final : public DecoderStage {
 public:
  BrotliStage();

  DecodedStep decode(Bytes& input, std::span<std::byte> room) override;
  std::optional<LoadFailure> finish() override;

 private:
  struct Destroy {
    void operator()(BrotliDecoderState* state) const { BrotliDecoderDestroyInstance(state); }
  };

  const std::unique_ptr<BrotliDecoderState, Destroy> state_;
  bool isAtEnd_ = false;
};

}  // namespace platform::detail
