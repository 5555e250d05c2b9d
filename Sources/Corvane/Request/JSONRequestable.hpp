#pragma once

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/JSONReference.hpp"
#include "Corvane/Responses/JSONResponse.hpp"

namespace corvane {

/// A request whose response is JSON, decoded into a `JSON`. Derive from one of the mixins below; or from this, with a
/// `method` of your own. It accepts "application/json". `HTTPRequestable` describes the other properties and functions,
/// `JSONDecoder` the types that JSON is decoded into.
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
/// The response is a `JSONResponse`, or a custom type whose `Result::Body` is the `JSON`.
///
/// Responses of up to 64 KiB are decoded on the queue that all requests share, longer ones on the global queue.
template <class Self, class JSONType, class ResponseType = JSONResponse<JSONType>>
struct JSONRequestable : HTTPRequestable<Self, ResponseType> {
  static_assert(velisand::JSONDecodable<JSONType>,
                "JSON cannot be decoded into this response type: use a plain struct, or give the type a JSONCodec "
                "with `decode`");
  static_assert(std::same_as<detail::BodyOf<ResponseType>, JSONType>,
                "The response of a JSON request must be a JSONResponse of its `JSON`, or a response type whose "
                "`Result::Body` is that type");
  /// The type that the response is decoded into.
  using JSON = JSONType;

  /// "application/json".
  HTTPMediaType acceptType() const { return HTTPMediaType::json; }
};

/// Adds a body that is encoded as JSON, with the type "application/json". Otherwise it is an `HTTPBodyRequestable`. If
/// the body cannot be encoded, the response has that error and nothing is sent.
///
///     struct Rename : DataRequestable<Rename>, JSONBodyRequestable<Rename, User> {
///       User body;
///       URL url = "https://example.com/users/7";
///       HTTPMethod method = HTTPMethod::patch;
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
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

/// A `JSONRequestable` with the method "POST" and a body. POST, PUT and PATCH take the type of the body; see
/// `JSONBodyRequestable`.
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
