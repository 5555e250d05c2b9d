#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace bench {

/// Bytes that were not zeroed before they were written.
struct RawBytes {
  std::unique_ptr<char[]> bytes;
  std::size_t count = 0;

  std::string_view view() const { return {bytes.get(), count}; }
};

/// One call of `deflate`: gzip, zlib's default level, memory level 9.
RawBytes deflateAtOnce(std::string_view plain);
/// One call of `inflate`, told how much will come.
RawBytes inflateAtOnce(std::string_view compressed, std::size_t plainCount);

}  // namespace bench
