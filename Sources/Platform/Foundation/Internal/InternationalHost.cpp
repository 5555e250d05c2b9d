#include "Platform/Foundation/Internal/InternationalHost.hpp"

#include <idn2.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform::detail {

namespace {

// Not IDN2_USE_STD3_ASCII_RULES: it drops what it does not allow, where a refusal is due.
constexpr int lookUpFlags = IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL;

bool isNameCharacter(char character) {
  return isLetter(character) || isDigit(character) || character == '-' || character == '.';
}

/// A name may end with a full stop, for the root.
bool hasEmptyLabel(std::string_view name) { return name.starts_with('.') || name.find("..") != name.npos; }

/// Whether it is read as an IPv4 address in one of its spellings, or might be: its last label is a number.
bool mayBeAddress(std::string_view name) {
  if (name.ends_with('.')) name.remove_suffix(1);
  const std::string_view last = name.substr(name.rfind('.') + 1);
  if (last.starts_with("0x")) return true;
  return !last.empty() && std::all_of(last.begin(), last.end(), isDigit);
}

std::string reason(int code) {
  switch (code) {
    case IDN2_DISALLOWED:
    case IDN2_UNASSIGNED:
      return "holds a character that no name has";
    case IDN2_BIDI:
      return "mixes directions of writing as no name does";
    case IDN2_TOO_BIG_DOMAIN:
    case IDN2_TOO_BIG_LABEL:
    case IDN2_PUNYCODE_BIG_OUTPUT:
      return "is too long";
    default:
      return std::string("is no name: ") + idn2_strerror(code);
  }
}

}  // namespace

HostName internationalHost(std::string_view name) {
  if (name.find('\0') != name.npos) return {{}, "holds a NUL"};
  std::uint8_t* found = nullptr;
  const int code =
      idn2_lookup_u8(reinterpret_cast<const std::uint8_t*>(std::string(name).c_str()), &found, lookUpFlags);
  if (code != IDN2_OK) return {{}, reason(code)};
  const std::unique_ptr<std::uint8_t, void (*)(void*)> owned(found, &idn2_free);
  std::string ascii(reinterpret_cast<const char*>(found));
  if (!std::all_of(ascii.begin(), ascii.end(), isNameCharacter)) return {{}, "would be read as \"" + ascii + "\""};
  if (ascii.empty() || hasEmptyLabel(ascii)) return {{}, "has an empty label"};
  if (mayBeAddress(ascii)) return {{}, "would be read as the address \"" + ascii + "\""};
  return {std::move(ascii), {}};
}

}  // namespace platform::detail
