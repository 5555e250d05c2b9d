#pragma once

#include <concepts>
#include <string>
#include <utility>

#include "Corvane/ContentEncoding/HTTPContentEncoder.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

/// A type of content encoder, as a value: what a request names to have its body encoded.
///
///     static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
class HTTPContentEncoderType {
 public:
  /// What an encoder made of a body.
  struct Encoded {
    /// The encoded bytes.
    platform::Data bytes;
    /// The name of the coding, e.g. "gzip".
    std::string coding;
  };

  /// The value that stands for the type `Encoder`.
  template <HTTPContentEncoder Encoder>
  static constexpr HTTPContentEncoderType of() {
    return HTTPContentEncoderType([](platform::Data original) {
      const Encoder encoder(std::move(original));
      return Encoded{encoder.encodedData(), encoder.encodingType().rawValue()};
    });
  }

  /// Throws what the encoder throws.
  Encoded encode(platform::Data original) const { return encode_(std::move(original)); }

 private:
  using Encode = Encoded (*)(platform::Data);
  constexpr explicit HTTPContentEncoderType(Encode function) : encode_(function) {}

  Encode encode_;
};

}  // namespace corvane
