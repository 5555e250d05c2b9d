#pragma once

#include <utility>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Corvane/ContentEncoding/HTTPContentEncoder.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// Encodes a body with gzip, at zlib's default level.
class CORVANE_API HTTPGzipContentEncoder : public HTTPContentEncoderDefaults<HTTPGzipContentEncoder> {
 public:
  /// Keeps the bytes, which are shared and not copied.
  explicit HTTPGzipContentEncoder(platform::Data originalData) : originalData_(std::move(originalData)) {}

  /// The bytes that were given.
  const platform::Data& originalData() const { return originalData_; }
  /// `HTTPContentEncodingType::gzip()`.
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType::gzip(); }
  /// Throws `GZipError`.
  platform::Data encodedData() const;

 private:
  platform::Data originalData_;
};

}  // namespace corvane
