#pragma once

#include <concepts>

#include "Corvane/Request/AnyRequest.hpp"
#include "Corvane/Request/DataRequestable.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/JSONRequestable.hpp"

/// Concepts for the kinds of requests, for generic code:
///
///     template <AnyGetRequest Request>
///     void preload(const Request& request) { request.send([](typename Request::Response) {}); }
namespace corvane {

namespace detail {
template <class T, class Method>
concept HasMethodOf = std::same_as<decltype(&T::method), HTTPMethod (Method::*)() const>;
}  // namespace detail

/// A request whose mixin sets the method "GET": `HTTPGetRequestable`, `DataGetRequestable`, `JSONGetRequestable`, a
/// download, and the ready-made GET requests. A type with a `method` of its own does not count, whatever the method.
template <class T>
concept AnyGetRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::GetMethod<T>>;
/// The same for "HEAD".
template <class T>
concept AnyHeadRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::HeadMethod<T>>;
/// The same for "POST".
template <class T>
concept AnyPostRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::PostMethod<T>>;
/// The same for "PUT".
template <class T>
concept AnyPutRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::PutMethod<T>>;
/// The same for "PATCH".
template <class T>
concept AnyPatchRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::PatchMethod<T>>;
/// The same for "DELETE".
template <class T>
concept AnyDeleteRequest = AnyRequest<T> && detail::HasMethodOf<T, detail::DeleteMethod<T>>;

/// A request with a body, whatever its method.
template <class T>
concept AnyBodyRequest = AnyRequest<T> && requires {
  typename T::Body;
  requires std::derived_from<T, HTTPBodyRequestable<T, typename T::Body>>;
};

/// A request whose response is kept as bytes.
template <class T>
concept AnyDataRequest = AnyRequest<T> && std::derived_from<T, DataRequestable<T, typename T::Response>>;

/// A request whose response is decoded from JSON.
template <class T>
concept AnyJSONRequest = AnyRequest<T> && requires {
  typename T::JSON;
  requires std::derived_from<T, JSONRequestable<T, typename T::JSON, typename T::Response>>;
};

}  // namespace corvane
