#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace platform::detail {

/// What a block of text holds, a bit for each character (`scale` bits apart).
struct TextBlock {
  /// A quote, a backslash or a control character: what cannot stand in a JSON string as it is.
  std::uint64_t special;
  /// Not ASCII.
  std::uint64_t high;
};

#if defined(__SSE2__)

inline constexpr std::size_t blockSize = 16;
inline constexpr int blockScale = 1;

inline TextBlock classify(const char* text) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
  const __m128i quote = _mm_cmpeq_epi8(block, _mm_set1_epi8('"'));
  const __m128i backslash = _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'));
  const __m128i special = _mm_or_si128(control, _mm_or_si128(quote, backslash));
  return {static_cast<std::uint32_t>(_mm_movemask_epi8(special)), static_cast<std::uint32_t>(_mm_movemask_epi8(block))};
}

#elif defined(__aarch64__)

inline constexpr std::size_t blockSize = 16;
inline constexpr int blockScale = 4;

/// Four bits for each byte of a mask.
inline std::uint64_t nibbles(uint8x16_t mask) {
  return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(vreinterpretq_u16_u8(mask), 4)), 0);
}

inline TextBlock classify(const char* text) {
  const uint8x16_t block = vld1q_u8(reinterpret_cast<const std::uint8_t*>(text));
  const uint8x16_t control = vcltq_u8(block, vdupq_n_u8(0x20));
  const uint8x16_t quote = vceqq_u8(block, vdupq_n_u8('"'));
  const uint8x16_t backslash = vceqq_u8(block, vdupq_n_u8('\\'));
  return {nibbles(vorrq_u8(control, vorrq_u8(quote, backslash))), nibbles(vcgeq_u8(block, vdupq_n_u8(0x80)))};
}

#else

inline constexpr std::size_t blockSize = 8;
inline constexpr int blockScale = 8;

inline TextBlock classify(const char* text) {
  TextBlock block{0, 0};
  for (int index = 0; index < 8; ++index) {
    const auto c = static_cast<unsigned char>(text[index]);
    const bool isSpecial = c < 0x20 || c == '"' || c == '\\';
    block.special |= static_cast<std::uint64_t>(isSpecial ? 0x80 : 0) << (8 * index);
    block.high |= static_cast<std::uint64_t>(c & 0x80) << (8 * index);
  }
  return block;
}

#endif

inline std::size_t firstOf(std::uint64_t bits) { return static_cast<std::size_t>(std::countr_zero(bits)) / blockScale; }

/// The bits of the characters before the first of `bits`, which are not zero.
inline std::uint64_t before(std::uint64_t bits) { return (bits & (~bits + 1)) - 1; }

}  // namespace platform::detail
