#pragma once

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/JSONReference.hpp"
#include "Corvane/Responses/JSONResponse.hpp"

namespace corvane {

/// A request whose response is JSON, decoded into a `JSON`. Adopted with one of the mixins below, or with a
/// `method` of the type's own. It asks for "application/json". What else you write and get: see
/// `HTTPRequestable`; which types JSON is decoded into: see `JSONDecoder`.
///
///     struct User { std::int64_t id; std::string login; std::optional<std::string> name; };
///
///     struct GetUser : JSONGetRequestable<GetUser, User> {
///       std::string login;
///       URL baseURL = "https://api.example.com";
///       std::string path() const { return "/users/" + login; }
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///
///     const User user = GetUser{.login = "ada"}.send().get().body;
///
/// The response is a `JSONResponse`, or a type of your own whose `Result::Body` is the `JSON`.
///
/// Where it runs: short responses are decoded on the queue that all requests share, responses above 64 KiB on the
/// global queue.
template <class Self, class JSONType, class ResponseType = JSONResponse<JSONType>>
struct JSONRequestable : HTTPRequestable<Self, ResponseType> {
  static_assert(velisand::JSONDecodable<JSONType>,
                "JSON cannot be decoded into this response type: use a plain struct, or give the type a JSONCodec "
                "with `decode`");
  static_assert(std::same_as<detail::BodyOf<ResponseType>, JSONType>,
                "The response of a JSON request must be a JSONResponse of its `JSON`, or a response type whose "
                "`Result::Body` is that type");
  /// What the response is decoded into.
  using JSON = JSONType;

  /// "application/json".
  HTTPMediaType acceptType() const { return HTTPMediaType::json; }
};

/// Gives a request a body that is encoded as JSON, and "application/json" as its type. Beside that it is an
/// `HTTPBodyRequestable`. What cannot be encoded becomes the outcome of the send; nothing is sent then.
template <class Self, class BodyType = JSONReference>
struct JSONBodyRequestable : HTTPBodyRequestable<Self, BodyType>, detail::JSONBodyMixin {
  static_assert(velisand::JSONEncodable<BodyType>,
                "This body cannot be encoded as JSON: use a plain struct, or give the type a JSONCodec with `encode`");
  static_assert(!std::same_as<BodyType, platform::Data>,
                "A JSON body is a value to be encoded: send bytes that are JSON already with HTTPBodyRequestable and "
                "the content type HTTPMediaType::json");

  /// "application/json".
  HTTPMediaType contentType() const { return HTTPMediaType::json; }
};

/// A `JSONRequestable` with the method "GET".
template <class Self, class JSON, class Response = JSONResponse<JSON>>
struct JSONGetRequestable : JSONRequestable<Self, JSON, Response>, detail::GetMethod<Self> {};

/// A `JSONRequestable` with the method "DELETE".
template <class Self, class JSON, class Response = JSONResponse<JSON>>
struct JSONDeleteRequestable : JSONRequestable<Self, JSON, Response>, detail::DeleteMethod<Self> {};

/// The three with a body take its type; see `JSONBodyRequestable`.
template <class Self, class JSON, class Body = JSONReference, class Response = JSONResponse<JSON>>
struct JSONPostRequestable : JSONRequestable<Self, JSON, Response>,
                             JSONBodyRequestable<Self, Body>,
                             detail::PostMethod<Self> {};

/// A `JSONRequestable` with the method "PUT" and a body.
template <class Self, class JSON, class Body = JSONReference, class Response = JSONResponse<JSON>>
struct JSONPutRequestable : JSONRequestable<Self, JSON, Response>,
                            JSONBodyRequestable<Self, Body>,
                            detail::PutMethod<Self> {};

/// A `JSONRequestable` with the method "PATCH" and a body.
template <class Self, class JSON, class Body = JSONReference, class Response = JSONResponse<JSON>>
struct JSONPatchRequestable : JSONRequestable<Self, JSON, Response>,
                              JSONBodyRequestable<Self, Body>,
                              detail::PatchMethod<Self> {};

}  // namespace corvane
