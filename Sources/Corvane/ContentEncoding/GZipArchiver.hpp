#pragma once

#include <utility>

#include "Corvane/ContentEncoding/GZipCompression.hpp"
#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Compresses bytes with gzip (RFC 1952), in one call.
class CORVANE_API GZipArchiver {
 public:
  /// Keeps the bytes; they are shared, not copied.
  explicit GZipArchiver(platform::Data data) : uncompressedData_(std::move(data)) {}

  /// The bytes passed to the constructor.
  const platform::Data& uncompressedData() const { return uncompressedData_; }

  /// The compressed bytes. Returns empty input unchanged, and input that begins like gzip. Throws `GZipError`: `stream`
  /// when zlib does not know the level, `memory` when there is no memory. Traps for more than 4 GiB.
  platform::Data zip(GZipCompression level) const;

 private:
  platform::Data uncompressedData_;
};

}  // namespace corvane
