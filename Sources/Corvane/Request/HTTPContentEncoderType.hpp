#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <utility>

#include "Corvane/ContentEncoding/HTTPContentEncoder.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/URLBodyStream.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace corvane {

namespace detail {
[[noreturn]] CORVANE_API void refuseToEncodeStream();
}  // namespace detail

/// A type of content encoder, as a value: the `contentEncoder` of a request.
///
///     static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
class HTTPContentEncoderType {
 public:
  /// An encoded body.
  struct Encoded {
    /// The encoded bytes.
    platform::Data bytes;
    /// The name of the coding, e.g. "gzip".
    std::string coding;
  };

  /// An encoded body that is made while it is sent.
  struct EncodedStream {
    /// The encoded stream; never null.
    std::shared_ptr<platform::URLBodyStream> stream;
    /// The name of the coding.
    std::string coding;
  };

  /// The value for the type `Encoder`. If it is an `HTTPStreamingContentEncoder`, it encodes bodies that are made while
  /// they are sent, too.
  template <HTTPContentEncoder Encoder>
  static constexpr HTTPContentEncoderType of() {
    return HTTPContentEncoderType(&encodeBytes<Encoder>, &encodeStream<Encoder>);
  }

  /// Encodes the bytes. Throws what the encoder throws.
  Encoded encode(platform::Data original) const { return encode_(std::move(original)); }
  /// Encodes a body while it is made. Requires: the stream is not null. Throws
  /// an error of the domain "Corvane.HTTPContentEncoder" when the encoder works on whole bodies in memory only.
  EncodedStream encode(std::shared_ptr<platform::URLBodyStream> original) const {
    return encodeStream_(std::move(original));
  }

 private:
  template <class Encoder>
  static Encoded encodeBytes(platform::Data original) {
    const Encoder encoder(std::move(original));
    return Encoded{bytesOf(encoder), encoder.encodingType().rawValue()};
  }

  template <class Encoder>
  static EncodedStream encodeStream(std::shared_ptr<platform::URLBodyStream> original) {
    if constexpr (HTTPStreamingContentEncoder<Encoder>) {
      const HTTPContentEncodingType coding = Encoder(platform::Data()).encodingType();
      return {Encoder::encodedStream(std::move(original)), coding.rawValue()};
    } else {
      detail::refuseToEncodeStream();
    }
  }

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
  using EncodeStream = EncodedStream (*)(std::shared_ptr<platform::URLBodyStream>);
  constexpr HTTPContentEncoderType(Encode function, EncodeStream streamFunction)
      : encode_(function), encodeStream_(streamFunction) {}

  Encode encode_;
  EncodeStream encodeStream_;
};

}  // namespace corvane
