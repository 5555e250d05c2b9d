#pragma once

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Responses/DataResponse.hpp"

namespace corvane {

// Compiled once, in the library, for every request with this response.
extern template class detail::ResponseExchange<DataResponse>;
extern template struct detail::SendFuture<DataResponse>;

/// A request whose response is kept as bytes. Adopted with one of the mixins below, or with a `method` of the
/// type's own. What else you write and get: see `HTTPRequestable`.
///
///     struct GetUser : DataGetRequestable<GetUser> {
///       std::string login;
///       URL baseURL = "https://api.example.com";
///       std::string path() const { return "/users/" + login; }
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
template <class Self>
struct DataRequestable : HTTPRequestable<Self, DataResponse> {};

/// A `DataRequestable` with the method "GET".
template <class Self>
struct DataGetRequestable : DataRequestable<Self>, detail::GetMethod<Self> {};

/// A `DataRequestable` with the method "DELETE".
template <class Self>
struct DataDeleteRequestable : DataRequestable<Self>, detail::DeleteMethod<Self> {};

/// The three with a body take its type; see `HTTPBodyRequestable`.
template <class Self, class Body = platform::Data>
struct DataPostRequestable : DataRequestable<Self>, HTTPBodyRequestable<Self, Body>, detail::PostMethod<Self> {};

/// A `DataRequestable` with the method "PUT" and a body.
template <class Self, class Body = platform::Data>
struct DataPutRequestable : DataRequestable<Self>, HTTPBodyRequestable<Self, Body>, detail::PutMethod<Self> {};

/// A `DataRequestable` with the method "PATCH" and a body.
template <class Self, class Body = platform::Data>
struct DataPatchRequestable : DataRequestable<Self>, HTTPBodyRequestable<Self, Body>, detail::PatchMethod<Self> {};

}  // namespace corvane
