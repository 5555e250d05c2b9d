#include "Corvane/Transfers/HTTPFormPart.hpp"

#include "Corvane/Transfers/MultipartError.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane {

using platform::Data;
using platform::HTTPHeaderFields;
using platform::URL;

namespace {

/// Each CR without an LF, and each LF without a CR, becomes both.
std::string withFullLineBreaks(std::string_view text) {
  std::string result;
  for (std::size_t place = 0; place < text.size(); ++place) {
    const char c = text[place];
    if (c != '\r' && c != '\n') {
      result += c;
      continue;
    }
    result += "\r\n";
    if (c == '\r' && place + 1 < text.size() && text[place + 1] == '\n') ++place;
  }
  return result;
}

std::string quotedParameter(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        result += "%22";
        break;
      case '\r':
        result += "%0D";
        break;
      case '\n':
        result += "%0A";
        break;
      default:
        result += c;
    }
  }
  return result + '"';
}

void appendField(std::string& head, const std::string& name, const std::string& value) {
  const std::string problem = HTTPHeaderFields::problem(name, value);
  if (!problem.empty()) throw MultipartError::invalidField(name, problem);
  head.append(name).append(": ").append(value).append("\r\n");
}

std::string dispositionOf(const std::string& name, const std::optional<std::string>& fileName) {
  std::string text = "form-data; name=" + quotedParameter(withFullLineBreaks(name));
  if (fileName) text += "; filename=" + quotedParameter(*fileName);
  return text;
}

std::string headOf(const std::string& name, const HTTPFormPartOptions& options) {
  std::string head;
  appendField(head, "Content-Disposition", dispositionOf(name, options.fileName));
  if (options.contentType) appendField(head, "Content-Type", options.contentType->value());
  for (const auto& [field, value] : options.headers) {
    if (platform::detail::equalsIgnoringCase(field, "Content-Disposition"))
      throw MultipartError::invalidField(field, "It is made of the name of the part.");
    if (options.contentType && platform::detail::equalsIgnoringCase(field, "Content-Type"))
      throw MultipartError::invalidField(field, "The part has a content type already.");
    appendField(head, field, value);
  }
  return head;
}

}  // namespace

HTTPFormPart::HTTPFormPart(Made, std::string name, Content content, HTTPFormPartOptions options)
    : name_(std::move(name)), content_(std::move(content)) {
  const bool hasType = options.contentType || options.headers.contains("Content-Type");
  if (const auto* const file = std::get_if<URL>(&content_)) {
    if (!options.fileName) options.fileName = file->lastPathComponent();
    if (!hasType) options.contentType = HTTPMediaType(velisand::mimeType(*file));
  } else if (const auto* const producer = std::get_if<HTTPBodyProducer>(&content_)) {
    if (!hasType) options.contentType = producer->contentType();
  }
  head_ = headOf(name_, options);
}

HTTPFormPart::HTTPFormPart(std::string name, const velisand::AnyDataRepresentable& value, HTTPFormPartOptions options)
    : HTTPFormPart(Made(), std::move(name), value.asData(), std::move(options)) {}

HTTPFormPart::HTTPFormPart(std::string name, HTTPBodyProducer producer, HTTPFormPartOptions options)
    : HTTPFormPart(Made(), std::move(name), std::move(producer), std::move(options)) {}

std::shared_ptr<platform::URLBodyStream> HTTPFormPart::bodyStream() const {
  if (const auto* const file = std::get_if<URL>(&content_)) return platform::URLBodyStream::ofFile(*file);
  if (const auto* const producer = std::get_if<HTTPBodyProducer>(&content_)) return producer->bodyStream();
  return platform::URLBodyStream::ofData(std::get<Data>(content_));
}

}  // namespace corvane
