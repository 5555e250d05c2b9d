#pragma once

#include <utility>

#include "Corvane/Request/DataMethodRequestable.hpp"
#include "Corvane/Request/HTTPFormBody.hpp"
#include "Corvane/Request/JSONRequestable.hpp"
#include "Corvane/Request/StoredRequest.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// A `JSONRequestable` with the method "POST" and a form as its body, as services take that issue tokens (RFC 6749,
/// 4.1.3).
///
///     struct RefreshToken : FormPostRequestable<RefreshToken, Token> {
///       std::string token;
///       URL url = "https://login.example.com/token";
///       HTTPFormBody body() const { return {{"grant_type", "refresh_token"}, {"refresh_token", token}}; }
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///
/// A form whose response is bytes is a `DataPostRequestable<Self, HTTPFormBody>`.
template <class Self, class JSON, class Response = JSONResponse<JSON>>
struct FormPostRequestable : JSONRequestable<Self, JSON, Response>,
                             HTTPBodyRequestable<Self, HTTPFormBody>,
                             detail::PostMethod<Self> {};

// The ready-made requests. Each is an immutable value. Headers and query items come in this order, or by name in an
// `HTTPRequestOptions`.
//
//     const Token token = FormPostRequest<Token>(url, {{"grant_type", "client_credentials"}}).send().get().body;

/// A "POST" of a form to a URL. Its response comes as a `JSONResponse` of the type that it is given.
///
///     const Token token = FormPostRequest<Token>(url, {{"grant_type", "refresh_token"}}).send().get().body;
template <class JSON>
class FormPostRequest final : public detail::StoredBodyRequest<FormPostRequestable<FormPostRequest<JSON>, JSON>> {
  using Stored = detail::StoredBodyRequest<FormPostRequestable<FormPostRequest, JSON>>;

 public:
  /// Headers and query items by name.
  FormPostRequest(platform::URL url, HTTPFormBody body, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  FormPostRequest(platform::URL url, HTTPFormBody body, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "POST" of a form to a URL. Its response comes as a `DataResponse`.
class CORVANE_API DataFormPostRequest final
    : public detail::StoredBodyRequest<DataPostRequestable<DataFormPostRequest, HTTPFormBody>> {
 public:
  /// Headers and query items by name.
  DataFormPostRequest(platform::URL url, HTTPFormBody body, HTTPRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataFormPostRequest(platform::URL url, HTTPFormBody body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

// Compiled once, in the library.
extern template class HTTPRequestable<DataFormPostRequest, DataResponse>;

}  // namespace corvane
