#include "Platform/Loading/Internal/SuggestedFilename.hpp"

#include <algorithm>
#include <array>

#include "Platform/Foundation/UTF8.hpp"
#include "Platform/Loading/Internal/UTF8Text.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

constexpr std::size_t maximumExtensionBytes = 32;

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result.push_back(text[i]);
      continue;
    }
    if (i + 2 >= text.size() || hexadecimalValue(text[i + 1]) < 0 || hexadecimalValue(text[i + 2]) < 0)
      return std::nullopt;
    result.push_back(static_cast<char>(hexadecimalValue(text[i + 1]) * 16 + hexadecimalValue(text[i + 2])));
    i += 2;
  }
  return result;
}

/// charset "'" [ language ] "'" value-chars (RFC 8187, 3.2.1).
std::optional<std::string> decodedExtendedValue(std::string_view text) {
  const std::size_t first = text.find('\'');
  const std::size_t second = first == text.npos ? first : text.find('\'', first + 1);
  if (second == text.npos) return std::nullopt;
  auto bytes = percentDecoded(text.substr(second + 1));
  if (!bytes) return std::nullopt;
  const std::string_view charset = text.substr(0, first);
  if (equalsIgnoringCase(charset, "UTF-8")) return isValidUTF8(*bytes) ? bytes : std::nullopt;
  if (equalsIgnoringCase(charset, "ISO-8859-1")) return utf8FromLatin1(*bytes);
  return std::nullopt;
}

/// Direction marks and overrides make a name look as if it ended otherwise; line and paragraph separators
/// and the zero-width no-break space have no place in one either.
bool isDeceptive(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
         (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

bool isReservedOnWindows(char32_t c) {
  return c < 0x80 && std::string_view("<>:\"|?*").find(static_cast<char>(c)) != std::string_view::npos;
}

std::string withoutUnsafeCharacters(std::string_view name) {
  std::string result;
  std::size_t position = 0;
  while (position < name.size()) {
    const std::size_t start = position;
    const char32_t c = nextCodePoint(name, position);
    if (isDeceptive(c)) continue;
    if (isReservedOnWindows(c)) {
      result.push_back('_');
    } else {
      result.append(name.substr(start, position - start));
    }
  }
  return result;
}

std::string_view withoutSpaceOrDotEnds(std::string_view text) {
  while (!text.empty() && (text.front() == '.' || isSpaceOrTab(text.front()))) text.remove_prefix(1);
  while (!text.empty() && (text.back() == '.' || isSpaceOrTab(text.back()))) text.remove_suffix(1);
  return text;
}

bool isDeviceName(std::string_view name) {
  const std::string_view stem = trimmed(name.substr(0, std::min(name.find('.'), name.size())));
  constexpr std::array<std::string_view, 6> devices{"con", "prn", "aux", "nul", "conin$", "conout$"};
  if (std::any_of(devices.begin(), devices.end(), [stem](auto device) { return equalsIgnoringCase(stem, device); })) {
    return true;
  }
  const std::string_view kind = stem.substr(0, 3);
  if (!equalsIgnoringCase(kind, "com") && !equalsIgnoringCase(kind, "lpt")) return false;
  const std::string_view number = stem.substr(3);
  // Windows takes the superscript digits one to three for digits too.
  return (number.size() == 1 && isDigit(number[0])) || number == "\u00B9" || number == "\u00B2" || number == "\u00B3";
}

std::string_view extensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == name.npos || dot == 0 || dot + 1 == name.size()) return {};
  return name.substr(dot);
}

std::string shortened(std::string_view name, std::size_t maximumBytes) {
  if (name.size() <= maximumBytes) return std::string(name);
  std::string_view extension = extensionOf(name);
  if (extension.size() > std::min(maximumExtensionBytes, maximumBytes / 2)) extension = {};
  const std::string_view stem = utf8Prefix(name, maximumBytes - extension.size());
  return std::string(extension.empty() ? withoutSpaceOrDotEnds(stem) : stem).append(extension);
}

/// Letters, digits and what joins them: nothing to repair, as with most names.
bool isPlain(std::string_view name) {
  return !name.empty() && isLetterOrDigit(name.front()) && isLetterOrDigit(name.back()) &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return isLetterOrDigit(c) || c == '-' || c == '_' || c == '.'; });
}

std::string nameOfURL(const URL& url) { return safeComponent(url.lastPathComponent()); }

}  // namespace

std::optional<std::string> filenameOfDisposition(std::string_view contentDisposition) {
  if (contentDisposition.empty()) return std::nullopt;
  // A server that forgets the disposition type still means its file name.
  const bool isBare = lowercased(contentDisposition.substr(0, 8)) == "filename";
  const auto parsed = isBare ? ParameterizedValue::parse("attachment;" + std::string(contentDisposition))
                             : ParameterizedValue::parse(contentDisposition);
  if (const std::string* extended = parsed.parameter("filename*")) {
    if (auto name = decodedExtendedValue(*extended)) return name;
  }
  const std::string* plain = parsed.parameter("filename");
  if (!plain) return std::nullopt;
  return isValidUTF8(*plain) ? *plain : utf8FromLatin1(*plain);
}

std::string safeComponent(std::string_view name, std::size_t maximumBytes) {
  if (name.size() <= maximumBytes && isPlain(name) && !isDeviceName(name)) return std::string(name);
  const std::string valid = isValidUTF8(name) ? std::string(name) : utf8FromLatin1(name);
  std::string_view component = valid;
  while (!component.empty() && (component.back() == '/' || component.back() == '\\')) component.remove_suffix(1);
  component.remove_prefix(component.find_last_of("/\\") + 1);  // npos + 1 is 0
  const std::string kept = withoutUnsafeCharacters(component);
  std::string result = shortened(withoutSpaceOrDotEnds(kept), maximumBytes);
  // Last, since shortening can make a device name of what was none: "con", many spaces and "x".
  if (isDeviceName(result)) result = shortened("_" + result, maximumBytes);
  return result;
}

std::string suggestedFilename(std::string_view contentDisposition, const URL& url,
                              const std::optional<std::string>& mimeType) {
  std::string name;
  if (const auto given = filenameOfDisposition(contentDisposition)) name = safeComponent(*given);
  if (name.empty()) name = nameOfURL(url);
  // The dots of a host name start no extension.
  const bool hasExtension = !extensionOf(name).empty();
  if (name.empty()) name = safeComponent(url.host().value_or(""));
  if (name.empty()) name = "Unknown";
  const std::string_view extension = hasExtension || !mimeType ? "" : extensionForMIMEType(*mimeType);
  name.append(extension);
  // A safe name stays so with an extension, unless it is too long then.
  return name.size() <= mostNameBytes ? name : safeComponent(name);
}

}  // namespace platform::detail
