#pragma once

#include <utility>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Decompresses gzip (RFC 1952), in one call.
class CORVANE_API GZipUnarchiver {
 public:
  /// Keeps the bytes; they are shared, not copied.
  explicit GZipUnarchiver(platform::Data data) : compressedData_(std::move(data)) {}

  /// The bytes passed to the constructor.
  const platform::Data& compressedData() const { return compressedData_; }

  /// The original bytes. Returns input that does not begin like gzip unchanged. Bytes after the end of the gzip stream
  /// are ignored. The result has no size limit: do not use it for data from a source that you do not trust. Throws
  /// `GZipError`: `buffer` when the input ends too early, `data` when it or its checksum is damaged. Traps for more
  /// than 4 GiB of input.
  platform::Data unzip() const;

 private:
  platform::Data compressedData_;
};

}  // namespace corvane
