#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform {

/// Facts of a response that override its header fields. Absent facts are read from the header fields.
struct URLResponseFacts {
  /// As `URLResponse::mimeType`.
  std::optional<std::string> mimeType;
  /// In bytes.
  std::optional<std::int64_t> expectedContentLength;
  /// As `URLResponse::textEncodingName`.
  std::optional<std::string> textEncodingName;
  /// Converted to a safe path component, too.
  std::optional<std::string> suggestedFilename;
};

/// A redirect that was followed.
///
///     for (const URLRedirect& each : response->redirects()) show(each.statusCode, each.url);
struct URLRedirect {
  /// Where the response that redirects came from.
  URL url;
  /// Its status.
  int statusCode = 0;
  friend bool operator==(const URLRedirect&, const URLRedirect&) = default;
};

/// A response without its body. Immutable; held by `std::shared_ptr<const URLResponse>`.
///
///     const std::shared_ptr<const URLResponse> response = …;  // as a completion gets it
///     save(response->suggestedFilename(), response->mimeType().value_or("unknown"));
class CORVANE_API URLResponse {
 public:
  /// The value of `expectedContentLength` when the length is unknown.
  static constexpr std::int64_t unknownLength = -1;

  URLResponse(URL url, std::optional<std::string> mimeType, std::int64_t expectedContentLength,
              std::optional<std::string> textEncodingName);
  URLResponse(const URLResponse&) = delete;
  URLResponse& operator=(const URLResponse&) = delete;
  virtual ~URLResponse();

  /// The URL of the response, after redirects.
  const URL& url() const { return url_; }
  /// The media type, in lower case and without parameters.
  const std::optional<std::string>& mimeType() const { return mimeType_; }
  /// The announced length of the body in bytes before content decoding, or `unknownLength`.
  std::int64_t expectedContentLength() const { return expectedContentLength_; }
  /// The charset parameter of the media type, in lower case.
  const std::optional<std::string>& textEncodingName() const { return textEncodingName_; }
  /// One safe path component: from Content-Disposition (RFC 6266, RFC 8187), else the last component of the
  /// URL's path, else its host, else "Unknown"; without an extension, one is added for a known MIME type only.
  virtual std::string suggestedFilename() const;

 protected:
  /// Reads from the header fields the facts that are absent in `known`.
  URLResponse(URL url, const HTTPHeaderFields& fields, URLResponseFacts known);

 private:
  URL url_;
  std::optional<std::string> mimeType_;
  std::int64_t expectedContentLength_;
  std::optional<std::string> textEncodingName_;
};

/// A response over HTTP. MIME type, text encoding, length and file name come from the header fields, unless `known` has
/// them.
class CORVANE_API HTTPURLResponse final : public URLResponse {
 public:
  /// `httpVersion` is e.g. "HTTP/1.1".
  HTTPURLResponse(URL url, int statusCode, std::string httpVersion, HTTPHeaderFields headerFields,
                  URLResponseFacts known = {});

  /// As received, from 200 to 999.
  int statusCode() const { return statusCode_; }
  /// The protocol of the response, e.g. "HTTP/2".
  const std::string& httpVersion() const { return httpVersion_; }
  /// All header fields, in their order.
  const HTTPHeaderFields& allHeaderFields() const { return headerFields_; }
  /// The value of a field; see `HTTPHeaderFields::value`.
  std::optional<std::string> value(std::string_view headerField) const { return headerFields_.value(headerField); }
  /// The redirects that led to this response, in order; empty without any. `url()` is where the last one led.
  std::vector<URLRedirect> redirects() const { return redirects_ ? *redirects_ : std::vector<URLRedirect>(); }
  /// For the maker of the response, before it hands it out. Null: none.
  void setRedirects(std::shared_ptr<const std::vector<URLRedirect>> redirects) { redirects_ = std::move(redirects); }
  std::string suggestedFilename() const override;

 private:
  int statusCode_;
  std::string httpVersion_;
  HTTPHeaderFields headerFields_;
  std::optional<std::string> suggestedFilename_;
  std::shared_ptr<const std::vector<URLRedirect>> redirects_;
};

}  // namespace platform
