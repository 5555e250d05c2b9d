#pragma once

#include <concepts>
#include <memory>
#include <optional>

#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Errors/HTTPUploadError.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/MixinRequirements.hpp"
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

/// A body that knows its "Content-Type", as a form does.
template <class Body>
concept NamesContentType = requires(const Body& body) {
  { body.contentType() } -> std::same_as<HTTPMediaType>;
};

/// A body that is made while it is sent, as a producer's, or may be, as a form with files. A null stream stands for
/// bytes in memory, which the body then has.
template <class Body>
concept StreamedBody = requires(const Body& body) {
  { body.bodyStream() } -> std::convertible_to<std::shared_ptr<platform::URLBodyStream>>;
};
/// The same for one that is never in memory.
template <class Body>
concept NeverInMemory = StreamedBody<Body> && !velisand::DataRepresentable<Body>;

template <class Self>
concept Uploads = std::derived_from<Self, UploadMixin>;
template <class Self>
concept UploadsFile = Uploads<Self> && velisand::FileRepresentable<typename Self::Body>;
}  // namespace detail

/// Adds a body to a request. For types that are `HTTPRequestable`, too.
///
/// | you write                                              | you get                                              |
/// |--------------------------------------------------------|------------------------------------------------------|
/// | `HTTPBodyRequestable<AddUser, std::string>` as a base  | a request with a body of that type                   |
/// | `body`                                                 | its bytes are sent                                   |
/// | `contentType` (default for a `Data` body               | "Content-Type", whatever `headers` says              |
/// | "application/octet-stream", for a file that of its     |                                                      |
/// | extension, for a body that is encoded as JSON          |                                                      |
/// | "application/json", for a form and other bodies with   |                                                      |
/// | an `HTTPMediaType contentType() const` their own; else |                                                      |
/// | write it)                                              |                                                      |
/// | `contentEncoder`, an `HTTPContentEncoderType`          | the body encoded, and "Content-Encoding"             |
/// | (default: absent)                                      |                                                      |
///
/// The body type satisfies `velisand::DataRepresentable`: a `URL` or a path sends the bytes of its file. Or it is made
/// while it is sent: an `HTTPBodyProducer`, an `HTTPFormData`. An exception from the conversion or the encoder becomes
/// the error of the response; nothing is sent.
template <class Self, class BodyType = platform::Data>
struct HTTPBodyRequestable : detail::BodyMark {
  /// The type of `body`.
  using Body = BodyType;

  /// Checks at compile time that the mixin was given the type that derives from it.
  constexpr HTTPBodyRequestable() noexcept(detail::checkSelf<Self, HTTPBodyRequestable>()) {}

  /// The "Content-Type". It has a default for bodies with a known type, and is required for all others.
  HTTPMediaType contentType() const
    requires(std::same_as<BodyType, platform::Data> || velisand::FileRepresentable<BodyType> ||
             detail::NamesContentType<BodyType> || detail::BodyOfJSON<BodyType>)
  {
    if constexpr (detail::NamesContentType<BodyType>) {
      return detail::requirement::body(static_cast<const Self&>(*this)).contentType();
    } else if constexpr (std::same_as<BodyType, platform::Data>) {
      return HTTPMediaType::applicationOctetStream;
    } else if constexpr (velisand::FileRepresentable<BodyType>) {
      return HTTPMediaType(velisand::mimeType(detail::requirement::body(static_cast<const Self&>(*this))));
    } else {
      return HTTPMediaType::json;
    }
  }
  /// The content encoder of the body. Default: absent; the body is not encoded.
  std::optional<HTTPContentEncoderType> contentEncoder() const { return std::nullopt; }
};

namespace detail {

template <class Self>
constexpr bool checkBody() {
  constexpr bool canBeSent = velisand::DataRepresentable<typename Self::Body> || StreamedBody<typename Self::Body>;
  static_assert(canBeSent,
                "`Body` must have bytes: Data, std::string, a file's URL or path, or a type with "
                "`Data asData() const`");
  return canBeSent && check<Self>(requirement::body, requirement::contentType, requirement::contentEncoder);
}

/// Of that body: one that is computed may have another type, as another boundary, each time.
template <class Self, class Body>
HTTPMediaType contentTypeOf(const Self& self, const Body& body) {
  if constexpr (NamesContentType<Body> && requirement::contentType.isLeftTo<Self, HTTPBodyRequestable<Self, Body>>) {
    return body.contentType();
  } else {
    return requirement::contentType(self);
  }
}

template <class Self>
BodyDescription describeBody(const Self& self) {
  using Body = typename Self::Body;
  const std::optional<HTTPContentEncoderType> encoder = requirement::contentEncoder(self);
  const Body& body = requirement::body(self);
  BodyDescription description{.contentType = contentTypeOf(self, body), .bytes = {}, .contentEncoding = {}};
  if constexpr (UploadsFile<Self>) {
    if (encoder) throw HTTPUploadError::fileCannotBeEncoded(velisand::fileURL(body));
    return description;
  } else if constexpr (StreamedBody<Body>) {
    description.stream = body.bodyStream();
    if constexpr (!NeverInMemory<Body>) {
      if (!description.stream) description.bytes = body.asData();
    }
  } else if constexpr (std::derived_from<Self, JSONBodyMixin> && !velisand::detail::OffersData<Body>) {
    description.bytes = velisand::asJSON(body);
  } else {
    description.bytes = velisand::asData(body);
  }
  if (encoder && description.stream) {
    auto [stream, coding] = encoder->encode(std::move(description.stream));
    description.stream = std::move(stream);
    description.contentEncoding = std::move(coding);
  } else if (encoder) {
    auto [bytes, coding] = encoder->encode(*std::move(description.bytes));
    description.bytes = std::move(bytes);
    description.contentEncoding = std::move(coding);
  }
  return description;
}

}  // namespace detail
}  // namespace corvane
