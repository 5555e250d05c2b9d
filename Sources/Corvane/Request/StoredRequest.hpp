#pragma once

#include <concepts>
#include <utility>

#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {
/// The first member of options that are given by name: nothing in braces makes it, so braces without names are not
/// taken for options.
struct ByName {
  explicit ByName() = default;
};
}  // namespace detail

/// The options of a ready-made request, by name: `DataGetRequest(url, {.queryItems = {{"page", 2}}})`.
///
///     DataGetRequest(url, {.headers = {{"Accept-Language", "de"}}, .queryItems = {{"page", 2}}}).send().get();
struct HTTPRequestOptions {
  /// Leave it out. It keeps braces without names from being taken for options.
  [[no_unique_address]] detail::ByName byName = detail::ByName();
  /// Header fields of this request.
  HTTPHeaders headers = {};
  /// The query; if it is empty, the query of the URL is kept.
  HTTPQueryItems queryItems = {};
};

namespace detail {

/// The base that a URL was made relative to, else "/".
CORVANE_API platform::URL baseOf(const platform::URL& url);

// The constructors that take headers are templates for one reason: where braces could mean headers and
// options alike, as `{}` does (and `{.queryItems = …}` to GCC 12, which overlooks the name), options win.
template <class T>
concept Headers = std::same_as<T, HTTPHeaders>;

/// The stored properties of every ready-made request, on top of its mixin. Immutable.
template <class Mixin>
class StoredRequest : public Mixin, public StoredURL {
 public:
  /// The URL as it was given. What is sent is this URL with the query items, if there are any, as its query.
  const platform::URL& url() const { return url_; }
  platform::URL baseURL() const { return baseOf(url_); }
  HTTPHeaders sharedHeaders() const { return {}; }
  const HTTPHeaders& headers() const { return headers_; }
  const HTTPQueryItems& queryItems() const { return queryItems_; }

 protected:
  StoredRequest(platform::URL url, HTTPHeaders headers, HTTPQueryItems queryItems)
      : url_(std::move(url)), headers_(std::move(headers)), queryItems_(std::move(queryItems)) {}

 private:
  platform::URL url_;
  HTTPHeaders headers_;
  HTTPQueryItems queryItems_;
};

/// The same with a body.
template <class Mixin>
class StoredBodyRequest : public StoredRequest<Mixin> {
 public:
  using Body = typename Mixin::Body;

  const Body& body() const { return body_; }

 protected:
  StoredBodyRequest(platform::URL url, Body body, HTTPHeaders headers, HTTPQueryItems queryItems)
      : StoredRequest<Mixin>(std::move(url), std::move(headers), std::move(queryItems)), body_(std::move(body)) {}

 private:
  Body body_;
};

}  // namespace detail
}  // namespace corvane
