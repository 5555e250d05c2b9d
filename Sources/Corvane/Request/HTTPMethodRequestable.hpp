#pragma once

#include "Corvane/Request/DataRequestable.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Request/HTTPMethod.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

namespace detail {

// Each fixes the default of `method`, in a base of its own, so that it can join any chain of mixins.
template <class Self>
struct GetMethod {
  HTTPMethod method() const { return HTTPMethod::get; }
};
template <class Self>
struct HeadMethod {
  HTTPMethod method() const { return HTTPMethod::head; }
};
template <class Self>
struct PostMethod {
  HTTPMethod method() const { return HTTPMethod::post; }
};
template <class Self>
struct PutMethod {
  HTTPMethod method() const { return HTTPMethod::put; }
};
template <class Self>
struct PatchMethod {
  HTTPMethod method() const { return HTTPMethod::patch; }
};
template <class Self>
struct DeleteMethod {
  HTTPMethod method() const { return HTTPMethod::delete_; }
};

/// What a mixin for a method refines: a request whose response holds bytes is a `DataRequestable`. So the mixins for
/// data requests refine both, and have one `HTTPRequestable` among their bases.
template <class Self, class Response, class Body = BodyOf<Response>>
struct RequestableFor {
  using Type = HTTPRequestable<Self, Response>;
};
template <class Self, class Response>
struct RequestableFor<Self, Response, platform::Data> {
  using Type = DataRequestable<Self, Response>;
};
template <class Self, class Response>
using Requestable = typename RequestableFor<Self, Response>::Type;

}  // namespace detail

/// A request with the method "GET". `HTTPRequestable` describes the other properties and functions.
///
///     struct GetUsers : HTTPGetRequestable<GetUsers, JSONResponse<std::vector<User>>> {
///       URL url = "https://example.com/users";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
template <class Self, class Response = detail::NoResponse>
struct HTTPGetRequestable : detail::Requestable<Self, Response>, detail::GetMethod<Self> {};

/// A request with the method "HEAD": the response has the status and the header fields that a "GET" would have, and no
/// body (RFC 9110, 9.3.2).
///
///     struct HeadOfManual : HTTPHeadRequestable<HeadOfManual, DataResponse> {
///       URL url = "https://example.com/manual.pdf";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///     const auto length = HeadOfManual().send().get().headers->value("Content-Length");
template <class Self, class Response = detail::NoResponse>
struct HTTPHeadRequestable : detail::Requestable<Self, Response>, detail::HeadMethod<Self> {};

/// A request with the method "DELETE".
template <class Self, class Response = detail::NoResponse>
struct HTTPDeleteRequestable : detail::Requestable<Self, Response>, detail::DeleteMethod<Self> {};

/// A request with the method "POST" and a body; see also `HTTPBodyRequestable`.
template <class Self, class Response = detail::NoResponse, class Body = platform::Data>
struct HTTPPostRequestable : detail::Requestable<Self, Response>,
                             HTTPBodyRequestable<Self, Body>,
                             detail::PostMethod<Self> {};

/// A request with the method "PUT" and a body.
///
///     struct PutNote : HTTPPutRequestable<PutNote, DataResponse> {
///       Data body;
///       URL url = "https://example.com/notes/7";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///     PutNote{.body = Data("changed")}.send().get();
template <class Self, class Response = detail::NoResponse, class Body = platform::Data>
struct HTTPPutRequestable : detail::Requestable<Self, Response>,
                            HTTPBodyRequestable<Self, Body>,
                            detail::PutMethod<Self> {};

/// A request with the method "PATCH" and a body.
///
///     struct PatchNote : HTTPPatchRequestable<PatchNote, DataResponse> {
///       Data body;
///       URL url = "https://example.com/notes/7";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
template <class Self, class Response = detail::NoResponse, class Body = platform::Data>
struct HTTPPatchRequestable : detail::Requestable<Self, Response>,
                              HTTPBodyRequestable<Self, Body>,
                              detail::PatchMethod<Self> {};

}  // namespace corvane
