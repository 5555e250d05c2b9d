#include "Corvane/Transfers/MultipartFormSection.hpp"

#include <array>
#include <string_view>

#include "Corvane/Transfers/MultipartError.hpp"

namespace corvane {

using platform::Data;
using platform::URL;
using velisand::AnyDataRepresentable;

namespace {

constexpr std::string_view lineBreak = "\r\n";
constexpr std::array forbidden{'\r', '\n', '\0'};

std::string checked(std::string text, const char* what) {
  if (text.find_first_of(std::string_view(forbidden.data(), forbidden.size())) != std::string::npos)
    throw MultipartError::controlCharacter(what, text);
  return text;
}

/// As it stands, quotes included: this form has no escape for them.
std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string disposition(const MultipartFormSection& section) {
  std::string text = "form-data; name=" + quoted(checked(section.name, "name"));
  text += lineBreak;
  if (section.fileURL) text += "; filename=" + quoted(checked(section.fileURL->lastPathComponent(), "file name"));
  return text;
}

}  // namespace

MultipartFormSection::MultipartFormSection(std::string sectionName, AnyDataRepresentable data,
                                           std::optional<HTTPMediaType> type)
    : name(std::move(sectionName)), dataRepresentable(std::move(data)) {
  if (type) contentType = type->value();
}

MultipartFormSection::MultipartFormSection(std::string sectionName, URL file, std::string type,
                                           AnyDataRepresentable data)
    : name(std::move(sectionName)),
      contentType(std::move(type)),
      fileURL(std::move(file)),
      dataRepresentable(std::move(data)) {}

platform::HTTPHeaderFields MultipartFormSection::headers() const {
  platform::HTTPHeaderFields result{{"Content-Disposition", disposition(*this)}};
  if (contentType) result.set("Content-Type", checked(*contentType, "content type"));
  return result;
}

std::string detail::headerLines(const MultipartFormSection& section) {
  std::string lines;
  for (const auto& [name, value] : section.headers()) lines.append(name).append(": ").append(value).append(lineBreak);
  return lines;
}

Data MultipartFormSection::asData() const {
  const std::string lines = detail::headerLines(*this);
  const Data value = dataRepresentable.asData();
  Data bytes = Data::withCapacity(lines.size() + value.count());
  bytes.append(lines);
  bytes.append(value.span());
  return bytes;
}

}  // namespace corvane
