#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform {

/// The response of an exchange that failed; see `Error::response`. Immutable. Reading is safe on several threads.
///
///     try {
///       show(co_await request.send());
///     } catch (const Error& error) {
///       if (const auto* response = error.response()) show(response->statusCode(), response->text());
///     }
class CORVANE_API HTTPErrorResponse {
 public:
  /// Requires: the response is not null.
  HTTPErrorResponse(std::shared_ptr<const HTTPURLResponse> response, std::optional<Data> body);

  /// As received, from 200 to 999.
  int statusCode() const { return response_->statusCode(); }
  /// All header fields, in their order.
  const HTTPHeaderFields& headers() const { return response_->allHeaderFields(); }
  /// The value of a field; see `HTTPHeaderFields::value`.
  std::optional<std::string> header(std::string_view name) const { return response_->value(name); }
  /// The URL of the response, after redirects.
  const URL& url() const { return response_->url(); }
  /// The body, decoded from its content codings, as far as it arrived. Absent if there was none. The body of a failed
  /// download is cut after 64 KiB.
  const std::optional<Data>& body() const { return body_; }
  /// The body as text. Empty if there was none, or if it is not UTF-8.
  std::string text() const;
  /// The whole response. Never null.
  const std::shared_ptr<const HTTPURLResponse>& urlResponse() const { return response_; }

 private:
  std::shared_ptr<const HTTPURLResponse> response_;
  std::optional<Data> body_;
};

}  // namespace platform
