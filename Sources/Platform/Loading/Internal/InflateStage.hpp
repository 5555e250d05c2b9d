#pragma once

#include <zlib.h>

#include <array>

#include "Platform/Loading/Internal/DecoderStage.hpp"

namespace platform::detail {

/// Undoes "gzip" (RFC 1952, any number of members) and "deflate" (RFC 1950; also bare RFC 1951 data, which
/// some servers send under that name, told apart by the first two bytes). Checksums are verified; bytes
/// after the end are refused.
class InflateStage final : public DecoderStage {
 public:
  enum class Format { gzip, deflate };

  explicit InflateStage(Format format);
  ~InflateStage() override;
  InflateStage(const InflateStage&) = delete;
  InflateStage& operator=(const InflateStage&) = delete;

  DecodedStep decode(Bytes& input, std::span<std::byte> room) override;
  std::optional<LoadFailure> finish() override;

 private:
  DecodedStep inflateInto(Bytes& input, std::span<std::byte> room);
  std::optional<LoadFailure> beginNextMember(std::byte first);
  bool takeFirstBytes(Bytes& input);
  void open(int windowBits);
  LoadFailure damaged(const char* detail) const;
  const char* name() const { return format_ == Format::gzip ? "gzip" : "deflate"; }

  const Format format_;
  bool isOpen_ = false;
  bool isAtEndOfMember_ = false;
  std::array<std::byte, 2> firstBytes_{};
  std::size_t firstBytesCount_ = 0;
  z_stream stream_{};
};

}  // namespace platform::detail
