#include "Platform/Foundation/Internal/IRI.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

#include "Platform/Foundation/Internal/InternationalHost.hpp"
#include "Platform/Foundation/Internal/PercentEncoding.hpp"
#include "Platform/Foundation/Internal/URLParser.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform::detail {

namespace {

struct CodePoints {
  std::uint32_t first, last;
};

/// Characters that are not seen, or that change the direction of what follows: two people would read two addresses. To
/// be percent-encoded where they are meant (RFC 3987, 4.1, forbids those of direction).
constexpr std::array<CodePoints, 8> invisible{{{0x80, 0x9F},
                                               {0xAD, 0xAD},
                                               {0x61C, 0x61C},
                                               {0x200B, 0x200B},
                                               {0x200E, 0x200F},
                                               {0x2028, 0x202E},
                                               {0x2060, 0x206F},
                                               {0xFEFF, 0xFEFF}}};

std::uint32_t codePoint(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character.front());
  std::uint32_t point = character.size() == 1 ? lead : lead & (0x7FU >> character.size());
  for (const char trail : character.substr(1)) point = point << 6 | (static_cast<unsigned char>(trail) & 0x3FU);
  return point;
}

bool isInvisible(std::uint32_t point) {
  return std::any_of(invisible.begin(), invisible.end(),
                     [point](CodePoints range) { return point >= range.first && point <= range.last; });
}

/// Neither a character (Unicode, 23.7) nor one that all readers know: those for private use have a place in a query
/// only (RFC 3987, 2.2).
bool isUnknown(std::uint32_t point, bool isInQuery) {
  const bool isNoCharacter = (point & 0xFFFE) == 0xFFFE || (point >= 0xFDD0 && point <= 0xFDEF);
  const bool isPrivate = (point >= 0xE000 && point <= 0xF8FF) || point >= 0xF0000;
  return isNoCharacter || (isPrivate && !isInQuery);
}

std::string hexadecimal(std::uint32_t point) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (int shift = 20; shift >= 0; shift -= 4) {
    if (shift < 16 || point >> shift != 0) text += digits[point >> shift & 0xF];
  }
  return text;
}

/// What is wrong with a character outside of ASCII; empty when nothing is.
std::string characterProblem(std::string_view text, const URLRange& query) {
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t count = utf8CharacterLength(text.substr(position));
    const std::string place = " at position " + std::to_string(position);
    if (count == 0) return "the byte" + place + " is not UTF-8";
    const std::uint32_t point = codePoint(text.substr(position, count));
    const bool isInQuery = query.isPresent && position >= query.offset && position < query.offset + query.count;
    if (point >= 0x80 && (isInvisible(point) || isUnknown(point, isInQuery)))
      return "character U+" + hexadecimal(point) + place + " must be percent-encoded";
    position += count;
  }
  return {};
}

void appendEscaped(std::string& uri, std::string_view text) {
  for (const char character : text) {
    if (isASCII({&character, 1})) {
      uri += character;
    } else {
      uri += percentEncoded({&character, 1}, CharacterSet::anywhere);
    }
  }
}

}  // namespace

ConvertedIRI uriOfIRI(std::string_view text) {
  if (isASCII(text)) return {std::string(text), {}};
  URLParser parser(text, URLParser::Characters::all);
  if (!parser.parse()) return {{}, parser.problem()};
  const URLLayout& layout = parser.layout();
  if (std::string problem = characterProblem(text, layout.query); !problem.empty()) return {{}, std::move(problem)};

  const std::string_view host = layout.host.of(text);
  if (isASCII(host)) {
    std::string uri;
    appendEscaped(uri, text);
    return {std::move(uri), {}};
  }
  const std::string start = "the host \"" + std::string(host) + "\" ";
  if (host.find('%') != host.npos) return {{}, start + "is partly percent-encoded"};
  const HostName name = internationalHost(host);
  if (!name.problem.empty()) return {{}, start + name.problem};
  std::string uri;
  appendEscaped(uri, text.substr(0, layout.host.offset));
  uri += name.ascii;
  appendEscaped(uri, text.substr(layout.host.offset + layout.host.count));
  return {std::move(uri), {}};
}

}  // namespace platform::detail
