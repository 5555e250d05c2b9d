#pragma once

#include <utility>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Decompresses gzip (RFC 1952), all at once.
class CORVANE_API GZipUnarchiver {
 public:
  /// Keeps the bytes, which are shared and not copied.
  explicit GZipUnarchiver(platform::Data data) : compressedData_(std::move(data)) {}

  /// The bytes that were given.
  const platform::Data& compressedData() const { return compressedData_; }

  /// The original bytes; input that does not begin like gzip as it is. Bytes after the end of the gzip
  /// stream are ignored. Throws `GZipError`: `buffer` when the input ends too early, `data` when it or its
  /// checksum is damaged. Traps for more than 4 GiB of input.
  platform::Data unzip() const;

 private:
  platform::Data compressedData_;
};

}  // namespace corvane
