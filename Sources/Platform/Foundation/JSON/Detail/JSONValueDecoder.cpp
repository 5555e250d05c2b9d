#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"

#include <string_view>

#include "Platform/Foundation/JSON/Internal/JSONScannerText.hpp"

namespace platform::detail {

void JSONValueDecoder::decode(JSONReader& reader, bool& value) {
  switch (reader.scanner_.next()) {
    case 't':
      reader.require(reader.scanner_.passWord("true"));
      value = true;
      return;
    case 'f':
      reader.require(reader.scanner_.passWord("false"));
      value = false;
      return;
    default:
      reader.failMismatch("a boolean");
  }
}

void JSONValueDecoder::decode(JSONReader& reader, std::string& value) {
  if (reader.scanner_.next() != '"') reader.failMismatch("a string");
  std::string_view text;
  if (!passPlainString(reader.scanner_, text)) reader.require(reader.scanner_.passString(text, value));
  if (text.data() != value.data()) value.assign(text);
}

void JSONValueDecoder::decode(JSONReader& reader, std::monostate&) {
  if (!reader.takeNull()) reader.failMismatch("null");
}

void JSONValueDecoder::requireCount(const JSONReader& reader, std::size_t expected, std::size_t found) {
  if (found == expected) return;
  reader.fail("expected " + std::to_string(expected) + " elements, found " + std::to_string(found));
}

template void JSONValueDecoder::decodeErased<bool>(JSONReader&, void*);
template void JSONValueDecoder::decodeErased<std::string>(JSONReader&, void*);

}  // namespace platform::detail
