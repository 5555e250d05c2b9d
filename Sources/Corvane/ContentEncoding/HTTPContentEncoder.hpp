#pragma once

#include <concepts>

#include "Corvane/ContentEncoding/HTTPContentEncodingType.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// An encoder of request bodies: made of the original bytes, it tells its coding and gives the encoded
/// bytes. Making it and encoding may throw.
template <class E>
concept HTTPContentEncoder = std::constructible_from<E, platform::Data> && requires(const E& encoder) {
  { encoder.encodingType() } -> std::convertible_to<HTTPContentEncodingType>;
  { encoder.encodedData() } -> std::convertible_to<platform::Data>;
};

/// Gives an encoder `asData()`, the encoded bytes, so that it can stand where bytes are wanted.
template <class Self>
class HTTPContentEncoderDefaults {
 public:
  /// The encoded bytes. Throws what encoding throws.
  platform::Data asData() const { return static_cast<const Self&>(*this).encodedData(); }
};

}  // namespace corvane
