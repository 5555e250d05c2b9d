#pragma once

#include <concepts>
#include <optional>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Errors/HTTPUploadError.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Corvane/Request/HTTPContentEncoderType.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Velisand/DataRepresentable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

namespace detail {
/// Marks a body that is sent by an upload task: a file is then read while it is sent, not before.
struct UploadMixin {};

/// Marks a body that is encoded as JSON, whatever other form in bytes its type has.
struct JSONBodyMixin {};

/// A body whose bytes are JSON: by default, or since its type names the encoder that makes them.
template <class Body>
concept BodyOfJSON =
    velisand::RepresentedByJSON<Body> || (velisand::JSONEncodable<Body> && velisand::detail::NamesEncoder<Body>);

template <class Self>
concept Uploads = std::derived_from<Self, UploadMixin>;
template <class Self>
concept UploadsFile = Uploads<Self> && velisand::FileRepresentable<typename Self::Body>;
}  // namespace detail

/// Gives a request a body. For types that are `HTTPRequestable` too.
///
/// | you write                                              | you get                                              |
/// |--------------------------------------------------------|------------------------------------------------------|
/// | `HTTPBodyRequestable<AddUser, std::string>` as a base  | a request with a body of that type                   |
/// | `body`                                                 | its bytes are sent                                   |
/// | `contentType` (default for a `Data` body               | "Content-Type", whatever `headers` says              |
/// | "application/octet-stream", for a file that of its     |                                                      |
/// | extension, for a body that is encoded as JSON          |                                                      |
/// | "application/json"; else write it)                     |                                                      |
/// | `contentEncoder`, an `HTTPContentEncoderType`          | the body encoded, and "Content-Encoding"             |
/// | (default: absent)                                      |                                                      |
///
/// The body type satisfies `velisand::DataRepresentable`: a `URL` or a path sends the bytes of its file. What making
/// the bytes or the encoder throws becomes the outcome of the send; nothing is sent then.
template <class Self, class BodyType = platform::Data>
struct HTTPBodyRequestable : detail::BodyMark {
  /// The type of `body`.
  using Body = BodyType;

  /// Holds the type to be the one that the mixin was given, when the first value is made.
  constexpr HTTPBodyRequestable() noexcept(detail::checkSelf<Self, HTTPBodyRequestable>()) {}

  /// The "Content-Type", for the bodies that have one of their own; for all others it is required.
  HTTPMediaType contentType() const
    requires(std::same_as<BodyType, platform::Data> || velisand::FileRepresentable<BodyType> ||
             detail::BodyOfJSON<BodyType>)
  {
    if constexpr (std::same_as<BodyType, platform::Data>) {
      return HTTPMediaType::applicationOctetStream;
    } else if constexpr (velisand::FileRepresentable<BodyType>) {
      return HTTPMediaType(velisand::mimeType(detail::read(&Self::body, static_cast<const Self&>(*this))));
    } else {
      return HTTPMediaType::json;
    }
  }
  /// What encodes the body on its way. Default: absent, nothing does.
  std::optional<HTTPContentEncoderType> contentEncoder() const { return std::nullopt; }
};

namespace detail {

template <class Self>
constexpr bool checkBody() {
  constexpr bool hasBytes = velisand::DataRepresentable<typename Self::Body>;
  constexpr bool hasBody = requires { requires ReadsAs<decltype(&Self::body), Self, typename Self::Body>; };
  constexpr bool hasType = requires { requires ReadsAs<decltype(&Self::contentType), Self, HTTPMediaType>; };
  constexpr bool hasEncoder =
      requires { requires ReadsAs<decltype(&Self::contentEncoder), Self, std::optional<HTTPContentEncoderType>>; };
  static_assert(hasBytes,
                "`Body` must have bytes: Data, std::string, a file's URL or path, or a type with "
                "`Data asData() const`");
  static_assert(hasBody,
                "`body` is required and must convert to `Body`: write `Body body() const`, or a stored or static "
                "member of that type");
  static_assert(hasType,
                "`contentType` is required for a body that is not Data: write `HTTPMediaType contentType() const`, "
                "or a stored or static member of that type");
  static_assert(hasEncoder,
                "`contentEncoder` must be an HTTPContentEncoderType or absent: write "
                "`std::optional<HTTPContentEncoderType> contentEncoder() const`, or a stored or static member");
  return hasBytes && hasBody && hasType && hasEncoder;
}

template <class Self>
BodyDescription describeBody(const Self& self) {
  using Body = typename Self::Body;
  BodyDescription description{.contentType = read(&Self::contentType, self), .bytes = {}, .contentEncoding = {}};
  const std::optional<HTTPContentEncoderType> encoder = read(&Self::contentEncoder, self);
  const Body& body = read(&Self::body, self);
  if constexpr (UploadsFile<Self>) {
    if (encoder) throw HTTPUploadError::fileCannotBeEncoded(velisand::fileURL(body));
    return description;
  } else if constexpr (std::derived_from<Self, JSONBodyMixin> && !velisand::detail::OffersData<Body>) {
    description.bytes = velisand::asJSON(body);
  } else {
    description.bytes = velisand::asData(body);
  }
  if (encoder) {
    auto [bytes, coding] = encoder->encode(*std::move(description.bytes));
    description.bytes = std::move(bytes);
    description.contentEncoding = std::move(coding);
  }
  return description;
}

}  // namespace detail
}  // namespace corvane
