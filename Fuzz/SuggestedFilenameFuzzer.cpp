#include "Platform/Loading/Internal/SuggestedFilename.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzInput.hpp"
#include "Platform/Foundation/UTF8.hpp"

namespace platform::fuzz {

namespace {

using detail::safeComponent;

bool isUTF8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

void checkComponent(std::string_view name, std::size_t maximumBytes) {
  constexpr std::string_view separatorsAndReserved = "/\\<>:\"|?*";
  require(name.size() <= maximumBytes, "a name is too long");
  require(isUTF8(name), "a name is no UTF-8");
  require(name.find_first_of(separatorsAndReserved) == name.npos, "a name holds a separator or a reserved character");
  for (const char c : name) {
    require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "a name holds a control character");
  }
  if (name.empty()) return;
  require(name.front() != '.' && name.front() != ' ', "a name starts with a dot or a space");
  require(name.back() != '.' && name.back() != ' ', "a name ends with a dot or a space");
  require(safeComponent(name, maximumBytes) == name, "a safe name is made safer");
}

/// The lines: a Content-Disposition, a URL, a media type. The whole is a name, too.
void check(std::string_view input) {
  checkComponent(safeComponent(input), 255);
  checkComponent(safeComponent(input, 32), 32);
  const std::string_view disposition = takeLine(input);
  const auto url = URL::parse(takeLine(input));
  if (const auto name = detail::filenameOfDisposition(disposition)) {
    require(isUTF8(*name), "a name in a Content-Disposition is no UTF-8");
  }
  const std::string name =
      detail::suggestedFilename(disposition, url ? *url : URL("https://example.com/"), std::string(input));
  require(!name.empty(), "no name is suggested");
  checkComponent(name, 255);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
