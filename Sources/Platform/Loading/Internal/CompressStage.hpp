#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Platform/Loading/Internal/DecoderStage.hpp"

namespace platform::detail {

/// Undoes "compress": adaptive Lempel-Ziv-Welch codes of 9 to 16 bits after a three-byte header
/// (RFC 9110, 8.4.1.1), as the UNIX program of that name writes them.
///
/// The format has neither an end mark nor a checksum. Only a cut inside a code can be told from an end, so
/// the length of the message is what vouches for completeness.
class CompressStage final : public DecoderStage {
 public:
  DecodedStep decode(Bytes& input, std::span<std::byte> room) override;
  std::optional<LoadFailure> finish() override;

 private:
  using Code = std::uint32_t;
  static constexpr std::size_t headerBytes = 3;
  static constexpr unsigned firstWidth = 9;
  static constexpr unsigned greatestWidth = 16;
  static constexpr Code clearCode = 256;
  static constexpr Code none = 0xFFFFFFFF;

  std::optional<LoadFailure> takeHeader(Bytes& input);
  bool readCode(Bytes& input, Code& code);
  void skipRestOfGroup();
  void widen();
  void clear();
  std::optional<LoadFailure> takeCode(Code code);
  void emit(Code code);
  std::size_t handOut(std::span<std::byte> room);

  std::array<std::byte, headerBytes> header_{};
  std::size_t headerCount_ = 0;
  bool isBlockMode_ = false;
  unsigned maximumWidth_ = greatestWidth;

  std::uint64_t bits_ = 0;
  unsigned bitCount_ = 0;
  unsigned skippedBits_ = 0;
  unsigned codesInGroup_ = 0;
  unsigned width_ = firstWidth;

  // What a code stands for: the string of its prefix, then one byte.
  std::vector<std::uint16_t> prefixes_;
  std::vector<std::byte> suffixes_;
  Code free_ = 0;
  Code previous_ = none;
  std::byte firstOfPrevious_{};
  std::vector<std::byte> reversed_;
  std::vector<std::byte> decoded_;
  std::size_t handedOut_ = 0;  ///< of those
};

}  // namespace platform::detail
