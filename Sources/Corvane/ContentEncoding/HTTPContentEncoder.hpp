#pragma once

#include <concepts>
#include <memory>

#include "Corvane/ContentEncoding/HTTPContentEncodingType.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane {

/// An encoder of request bodies. It is constructed from the original bytes, and returns its content coding and the
/// encoded bytes. Construction and encoding may throw; the exception becomes the error of the request, and nothing is
/// sent.
template <class E>
concept HTTPContentEncoder = std::constructible_from<E, platform::Data> && requires(const E& encoder) {
  { encoder.encodingType() } -> std::convertible_to<HTTPContentEncodingType>;
  { encoder.encodedData() } -> std::convertible_to<platform::Data>;
};

/// An encoder that also encodes bodies while they are made (`HTTPBodyProducer`, `HTTPFormData`): its `encodedStream`
/// makes a stream of encoded bytes from one of original bytes.
///
///     static_assert(HTTPStreamingContentEncoder<HTTPGzipContentEncoder>);
template <class E>
concept HTTPStreamingContentEncoder =
    HTTPContentEncoder<E> && requires(std::shared_ptr<platform::URLBodyStream> original) {
      { E::encodedStream(original) } -> std::convertible_to<std::shared_ptr<platform::URLBodyStream>>;
    };

/// Adds `asData()` to an encoder, so that the encoder can be used as a value that converts to bytes.
template <class Self>
class HTTPContentEncoderDefaults {
 public:
  /// The encoded bytes. Throws what `encodedData()` throws.
  platform::Data asData() const { return static_cast<const Self&>(*this).encodedData(); }
};

}  // namespace corvane
