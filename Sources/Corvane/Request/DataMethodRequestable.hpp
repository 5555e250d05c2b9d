#pragma once

#include "Corvane/Request/DataRequestable.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Responses/DataResponse.hpp"

namespace corvane {

// Each is a `DataRequestable` and the request of its method; the response may be a type of your own whose body is
// `Data`.

/// A `DataRequestable` with the method "GET".
///
///     struct GetUser : DataGetRequestable<GetUser> {
///       std::string login;
///       URL baseURL = "https://api.example.com";
///       std::string path() const { return "/users/" + login; }
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
template <class Self, class Response = DataResponse>
struct DataGetRequestable : HTTPGetRequestable<Self, Response> {
  static_assert(detail::checkDataResponse<Response>());
};

/// A `DataRequestable` with the method "HEAD", for the header fields of a resource: its length, its type, its "ETag".
/// On success the body of the response is empty, whatever length "Content-Length" announces.
template <class Self, class Response = DataResponse>
struct DataHeadRequestable : HTTPHeadRequestable<Self, Response> {
  static_assert(detail::checkDataResponse<Response>());
};

/// A `DataRequestable` with the method "DELETE".
template <class Self, class Response = DataResponse>
struct DataDeleteRequestable : HTTPDeleteRequestable<Self, Response> {
  static_assert(detail::checkDataResponse<Response>());
};

/// A `DataRequestable` with the method "POST" and a body. POST, PUT and PATCH take the type of the body; see
/// `HTTPBodyRequestable`.
template <class Self, class Body = platform::Data, class Response = DataResponse>
struct DataPostRequestable : HTTPPostRequestable<Self, Response, Body> {
  static_assert(detail::checkDataResponse<Response>());
};

/// A `DataRequestable` with the method "PUT" and a body.
template <class Self, class Body = platform::Data, class Response = DataResponse>
struct DataPutRequestable : HTTPPutRequestable<Self, Response, Body> {
  static_assert(detail::checkDataResponse<Response>());
};

/// A `DataRequestable` with the method "PATCH" and a body.
template <class Self, class Body = platform::Data, class Response = DataResponse>
struct DataPatchRequestable : HTTPPatchRequestable<Self, Response, Body> {
  static_assert(detail::checkDataResponse<Response>());
};

}  // namespace corvane
