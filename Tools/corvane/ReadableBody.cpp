#include "ReadableBody.hpp"

#include <Platform/Foundation/Detail/ASCII.hpp>
#include <algorithm>
#include <string>

using namespace corvane;

namespace {

/// RFC 6839, 3.1: a suffix tells the form of types that have a name of their own.
bool isJSON(std::string mediaType) {
  mediaType.resize(std::min(mediaType.find(';'), mediaType.size()));
  mediaType.resize(mediaType.find_last_not_of(" \t") + 1);
  std::ranges::transform(mediaType, mediaType.begin(), platform::detail::asciiLower);
  return mediaType == HTTPMediaType::json.rawValue() || mediaType.ends_with("+json");
}

}  // namespace

Data readableBody(const ToolResponse& response, const TerminalStyle& style) {
  const auto mediaType = response.headers ? response.headers->value("Content-Type") : std::nullopt;
  if (!mediaType || !isJSON(*mediaType)) return *response.data;
  try {
    Data text = platform::prettyPrintedJSON(*response.data);
    text.append("\n");
    return style.isOn() ? Data(styledJSON(text.view(), style)) : text;
  } catch (const DecodingError&) {
    return *response.data;
  }
}
