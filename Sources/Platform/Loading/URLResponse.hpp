#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform {

/// What is known of a response from elsewhere than its header fields; what is absent is read from those.
struct URLResponseFacts {
  /// As `URLResponse::mimeType`.
  std::optional<std::string> mimeType;
  /// In bytes.
  std::optional<std::int64_t> expectedContentLength;
  /// As `URLResponse::textEncodingName`.
  std::optional<std::string> textEncodingName;
  /// Made a safe path component, too.
  std::optional<std::string> suggestedFilename;
};

/// What came back beside the body. Immutable; held by `std::shared_ptr<const URLResponse>`.
class CORVANE_API URLResponse {
 public:
  /// The expected length when it is not known.
  static constexpr std::int64_t unknownLength = -1;

  URLResponse(URL url, std::optional<std::string> mimeType, std::int64_t expectedContentLength,
              std::optional<std::string> textEncodingName);
  URLResponse(const URLResponse&) = delete;
  URLResponse& operator=(const URLResponse&) = delete;
  virtual ~URLResponse();

  /// Where the response came from, after redirects.
  const URL& url() const { return url_; }
  /// Lower-case type without parameters.
  const std::optional<std::string>& mimeType() const { return mimeType_; }
  /// The announced length of the body in bytes before content decoding, or `unknownLength`.
  std::int64_t expectedContentLength() const { return expectedContentLength_; }
  /// The charset parameter, lower-case.
  const std::optional<std::string>& textEncodingName() const { return textEncodingName_; }
  /// One safe path component: from Content-Disposition (RFC 6266, RFC 8187), else the last component of the
  /// URL's path, else its host, else "Unknown"; without an extension, one is added for a known MIME type only.
  virtual std::string suggestedFilename() const;

 protected:
  /// Reads from the header fields what is not known.
  URLResponse(URL url, const HTTPHeaderFields& fields, URLResponseFacts known);

 private:
  URL url_;
  std::optional<std::string> mimeType_;
  std::int64_t expectedContentLength_;
  std::optional<std::string> textEncodingName_;
};

/// A response over HTTP. MIME type, text encoding, length and file name are read from the header fields, unless they
/// are known otherwise.
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
  std::string suggestedFilename() const override;

 private:
  int statusCode_;
  std::string httpVersion_;
  HTTPHeaderFields headerFields_;
  std::optional<std::string> suggestedFilename_;
};

}  // namespace platform
