#include "Platform/Loading/URLResponse.hpp"

#include <algorithm>

#include "Platform/Loading/Internal/ContentLength.hpp"
#include "Platform/Loading/Internal/SuggestedFilename.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform {

namespace {

bool isMediaType(std::string_view text) {
  const std::size_t slash = text.find('/');
  return slash != text.npos && detail::isToken(text.substr(0, slash)) && detail::isToken(text.substr(slash + 1));
}

/// The last well-formed one counts, as in browsers, where a server and the application behind it both
/// write a Content-Type.
std::optional<detail::ParameterizedValue> contentType(const HTTPHeaderFields& fields) {
  std::optional<detail::ParameterizedValue> result;
  for (const auto& [name, value] : fields) {
    if (!detail::equalsIgnoringCase(name, "Content-Type")) continue;
    auto parsed = detail::ParameterizedValue::parse(value);
    if (isMediaType(parsed.value)) result = std::move(parsed);
  }
  return result;
}

/// Absent when nothing of the name can be used.
std::optional<std::string> safeName(const std::optional<std::string>& name) {
  std::string component = detail::safeComponent(name.value_or(std::string()));
  if (component.empty()) return std::nullopt;
  return component;
}

std::int64_t lengthOf(const HTTPHeaderFields& fields) {
  const auto length = detail::ContentLength::of(fields);
  return length.kind == detail::ContentLength::Kind::known ? length.bytes : URLResponse::unknownLength;
}

}  // namespace

URLResponse::URLResponse(URL url, std::optional<std::string> mimeType, std::int64_t expectedContentLength,
                         std::optional<std::string> textEncodingName)
    : url_(std::move(url)),
      mimeType_(std::move(mimeType)),
      expectedContentLength_(expectedContentLength),
      textEncodingName_(std::move(textEncodingName)) {}

URLResponse::URLResponse(URL url, const HTTPHeaderFields& fields, URLResponseFacts known)
    : url_(std::move(url)),
      mimeType_(std::move(known.mimeType)),
      expectedContentLength_(known.expectedContentLength ? *known.expectedContentLength : lengthOf(fields)),
      textEncodingName_(std::move(known.textEncodingName)) {
  const auto type = contentType(fields);
  if (!type) return;
  if (!mimeType_) mimeType_ = detail::lowercased(type->value);
  const std::string* charset = type->parameter("charset");
  if (!textEncodingName_ && charset && !charset->empty()) textEncodingName_ = detail::lowercased(*charset);
}

URLResponse::~URLResponse() = default;

std::string URLResponse::suggestedFilename() const { return detail::suggestedFilename({}, url_, mimeType_); }

HTTPURLResponse::HTTPURLResponse(URL url, int statusCode, std::string httpVersion, HTTPHeaderFields headerFields,
                                 URLResponseFacts known)
    : URLResponse(std::move(url), headerFields, known),
      statusCode_(statusCode),
      httpVersion_(std::move(httpVersion)),
      headerFields_(std::move(headerFields)),
      suggestedFilename_(safeName(known.suggestedFilename)) {}

std::string HTTPURLResponse::suggestedFilename() const {
  if (suggestedFilename_) return *suggestedFilename_;
  const auto disposition = std::find_if(headerFields_.begin(), headerFields_.end(), [](const auto& field) {
    return detail::equalsIgnoringCase(field.first, "Content-Disposition");
  });
  return detail::suggestedFilename(disposition == headerFields_.end() ? std::string_view() : disposition->second, url(),
                                   mimeType());
}

}  // namespace platform
