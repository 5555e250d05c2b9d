#pragma once

#include <utility>

#include "Corvane/ContentEncoding/GZipCompression.hpp"
#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Compresses bytes with gzip (RFC 1952), all at once.
class CORVANE_API GZipArchiver {
 public:
  /// Keeps the bytes, which are shared and not copied.
  explicit GZipArchiver(platform::Data data) : uncompressedData_(std::move(data)) {}

  /// The bytes that were given.
  const platform::Data& uncompressedData() const { return uncompressedData_; }

  /// The compressed bytes; empty input, and input that begins like gzip already, as it is. Throws
  /// `GZipError` when zlib refuses the level or has no memory. Traps for more than 4 GiB.
  platform::Data zip(GZipCompression level) const;

 private:
  platform::Data uncompressedData_;
};

}  // namespace corvane
