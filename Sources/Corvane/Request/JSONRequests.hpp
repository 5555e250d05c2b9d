#pragma once

#include <utility>

#include "Corvane/Request/JSONRequestable.hpp"
#include "Corvane/Request/StoredRequest.hpp"

namespace corvane {

namespace detail {
template <class Self, class JSON>
struct JSONBodyRequestMixin : JSONRequestable<Self, JSON>, JSONBodyRequestable<Self> {};
}  // namespace detail

// The ready-made requests. Each is an immutable value; its response comes as a `JSONResponse` of the type that it is
// given. A body is any value that can be written as JSON. Headers and query items come in this order, or by name
// in an `HTTPRequestOptions`.
//
//     const auto user = JSONGetRequest<User>(url).send().get().body;
//     JSONPostRequest<User>(url, NewUser{.login = "ada"}).send(...);

/// A "GET" of a URL, for a response that is decoded from JSON into a `JSON`: a plain struct, a vector of them, a
/// number, whatever `JSONDecoder` can make. `send` sends it.
///
///     struct User { std::int64_t id; std::string login; };
///
///     const User user = JSONGetRequest<User>("https://api.example.com/users/7").send().get().body;
///     JSONGetRequest<std::vector<User>>("https://api.example.com/users", {.queryItems = {{"page", 2}}})
///         .send([](const JSONResponse<std::vector<User>>& response) { show(response.result); });
template <class JSON>
class JSONGetRequest final : public detail::StoredRequest<JSONRequestable<JSONGetRequest<JSON>, JSON>>,
                             public detail::GetMethod<JSONGetRequest<JSON>> {
  using Stored = detail::StoredRequest<JSONRequestable<JSONGetRequest, JSON>>;

 public:
  /// Headers and query items by name.
  explicit JSONGetRequest(platform::URL url, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "POST" of a value, encoded as JSON, to a URL. The response is decoded from JSON into a `JSON`.
///
///     const User user =
///         JSONPostRequest<User>("https://api.example.com/users", NewUser{.login = "ada"}).send().get().body;
template <class JSON>
class JSONPostRequest final : public detail::StoredBodyRequest<JSONPostRequestable<JSONPostRequest<JSON>, JSON>> {
  using Stored = detail::StoredBodyRequest<JSONPostRequestable<JSONPostRequest, JSON>>;

 public:
  /// Headers and query items by name.
  JSONPostRequest(platform::URL url, JSONReference body, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONPostRequest(platform::URL url, JSONReference body, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PUT" of a value, encoded as JSON, to a URL. The response is decoded from JSON into a `JSON`.
///
///     const User user =
///         JSONPutRequest<User>("https://api.example.com/users/7", NewUser{.login = "ada"}).send().get().body;
template <class JSON>
class JSONPutRequest final : public detail::StoredBodyRequest<JSONPutRequestable<JSONPutRequest<JSON>, JSON>> {
  using Stored = detail::StoredBodyRequest<JSONPutRequestable<JSONPutRequest, JSON>>;

 public:
  /// Headers and query items by name.
  JSONPutRequest(platform::URL url, JSONReference body, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONPutRequest(platform::URL url, JSONReference body, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PATCH" of a URL by a value, encoded as JSON. The response is decoded from JSON into a `JSON`.
///
///     struct Change { std::string login; };
///
///     const User user =
///         JSONPatchRequest<User>("https://api.example.com/users/7", Change{.login = "grace"}).send().get().body;
template <class JSON>
class JSONPatchRequest final : public detail::StoredBodyRequest<JSONPatchRequestable<JSONPatchRequest<JSON>, JSON>> {
  using Stored = detail::StoredBodyRequest<JSONPatchRequestable<JSONPatchRequest, JSON>>;

 public:
  /// Headers and query items by name.
  JSONPatchRequest(platform::URL url, JSONReference body, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONPatchRequest(platform::URL url, JSONReference body, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "DELETE" of a URL, for a response that is decoded from JSON into a `JSON`. `DataDeleteRequest` takes any response.
///
///     const User removed = JSONDeleteRequest<User>("https://api.example.com/users/7").send().get().body;
template <class JSON>
class JSONDeleteRequest final : public detail::StoredRequest<JSONDeleteRequestable<JSONDeleteRequest<JSON>, JSON>> {
  using Stored = detail::StoredRequest<JSONDeleteRequestable<JSONDeleteRequest, JSON>>;

 public:
  /// Headers and query items by name.
  explicit JSONDeleteRequest(platform::URL url, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONDeleteRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// Any method on a URL, always with a body. The response is decoded from JSON into a `JSON`.
///
///     const auto found = JSONRequest<std::vector<User>>("https://api.example.com/users", HTTPMethod("QUERY"), query);
template <class JSON>
class JSONRequest final : public detail::StoredBodyRequest<detail::JSONBodyRequestMixin<JSONRequest<JSON>, JSON>> {
  using Stored = detail::StoredBodyRequest<detail::JSONBodyRequestMixin<JSONRequest, JSON>>;

 public:
  /// Headers and query items by name.
  JSONRequest(platform::URL url, HTTPMethod method, JSONReference body, HTTPRequestOptions options = {})
      : Stored(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)),
        method_(std::move(method)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  JSONRequest(platform::URL url, HTTPMethod method, JSONReference body, Fields headers, HTTPQueryItems queryItems = {})
      : Stored(std::move(url), std::move(body), std::move(headers), std::move(queryItems)),
        method_(std::move(method)) {}

  /// The method that was given.
  const HTTPMethod& method() const { return method_; }

 private:
  HTTPMethod method_;
};

}  // namespace corvane
