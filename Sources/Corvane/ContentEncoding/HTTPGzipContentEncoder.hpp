#pragma once

#include <memory>
#include <utility>

#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Corvane/ContentEncoding/HTTPContentEncoder.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane {

/// Encodes a body with gzip, at zlib's default level.
class CORVANE_API HTTPGzipContentEncoder : public HTTPContentEncoderDefaults<HTTPGzipContentEncoder> {
 public:
  /// Keeps the bytes; they are shared, not copied.
  explicit HTTPGzipContentEncoder(platform::Data originalData) : originalData_(std::move(originalData)) {}

  /// The bytes passed to the constructor.
  const platform::Data& originalData() const { return originalData_; }
  /// `HTTPContentEncodingType::gzip()`.
  HTTPContentEncodingType encodingType() const { return HTTPContentEncodingType::gzip(); }
  /// The compressed bytes. Empty bytes, and bytes that begin like gzip, are not compressed again; see
  /// `GZipArchiver::zip`. Throws `GZipError`.
  platform::Data encodedData() const;
  /// A stream that is compressed while it is read; its length is not known beforehand, and it can be read as often as
  /// the original. All bytes are compressed, also those that begin like gzip. What the encoder gathers is sent when it
  /// has enough, or at the end. Requires: `original` is not null.
  static std::shared_ptr<platform::URLBodyStream> encodedStream(std::shared_ptr<platform::URLBodyStream> original);

 private:
  platform::Data originalData_;
};

}  // namespace corvane
