#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "JSONFuzzModel.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Trap.hpp"

namespace platform::fuzz {

namespace {

/// The value, or absent where the decoder refuses the document. Whatever else it throws ends the process.
template <class T>
std::optional<T> decoded(const Data& document) {
  try {
    return JSONDecoder{}.decode<T>(document);
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}

/// What was read can be written, and reads the same again.
template <class T>
void checkRoundTrip(const std::optional<T>& value) {
  if (!value) return;
  const Data written = JSONEncoder{}.encode(*value);
  const std::optional<T> again = decoded<T>(written);
  if (!again) trap("what the encoder wrote is refused");
  if (!(*value == *again)) trap("what the encoder wrote reads differently");
}

/// The bytes after a document must not matter: here they go on as a document might.
template <class T>
void checkEnd(std::string_view text, const std::optional<T>& value) {
  Data document(text);
  document.append(std::string_view(R"(0"}]}]}]}]0e1,"a":[{"b":"\u0041"}],1.5e10]}]}]}]}]}]}]}]}]}]}]}]}]}]}])"));
  document.resize(text.size());
  if (!(decoded<T>(document) == value)) trap("the bytes after the end change what is read");
}

/// Whether a number in this text may be out of range: such a number is refused where it is read only.
bool mayHoldHugeNumber(std::string_view text) {
  if (text.size() > 300) return true;
  for (std::size_t place = text.find_first_of("eE"); place < text.size(); place = text.find_first_of("eE", place + 1)) {
    if (place > 0 && text[place - 1] >= '0' && text[place - 1] <= '9') return true;
  }
  return false;
}

/// What is skipped is checked as what is read.
void checkSkipping(std::string_view text, const std::optional<Free>& value) {
  const bool isSkipped = decoded<Bystander>(Data(text)).has_value();
  if (isSkipped && !value && !mayHoldHugeNumber(text)) trap("a text is skipped that cannot be read");
  const JSONObject* const members = value ? value->value.object() : nullptr;
  const bool asksForNothing = members != nullptr && members->find("isThere") == nullptr;
  if (asksForNothing && !isSkipped) trap("a text is not skipped that can be read");
}

void check(std::string_view text) {
  const Data document(text);
  const std::optional<Free> value = decoded<Free>(document);
  const std::optional<Drawing> drawing = decoded<Drawing>(document);

  checkRoundTrip(value);
  checkRoundTrip(drawing);
  checkEnd(text, value);
  checkEnd(text, drawing);
  checkSkipping(text, value);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
