#pragma once

#include <concepts>
#include <string>
#include <utility>

#include "Corvane/ContentEncoding/HTTPContentEncoder.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/DataRepresentable.hpp"

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
      return Encoded{bytesOf(encoder), encoder.encodingType().rawValue()};
    });
  }

  /// Throws what the encoder throws.
  Encoded encode(platform::Data original) const { return encode_(std::move(original)); }

 private:
  /// `asData()`, where the encoder has one, as `HTTPContentEncoderDefaults` gives it.
  template <class Encoder>
  static platform::Data bytesOf(const Encoder& encoder) {
    if constexpr (velisand::detail::OffersData<Encoder>) {
      return encoder.asData();
    } else {
      return encoder.encodedData();
    }
  }

  using Encode = Encoded (*)(platform::Data);
  constexpr explicit HTTPContentEncoderType(Encode function) : encode_(function) {}

  Encode encode_;
};

}  // namespace corvane
