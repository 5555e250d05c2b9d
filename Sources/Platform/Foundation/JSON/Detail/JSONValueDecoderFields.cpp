#include <bit>
#include <span>
#include <string>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"

namespace platform::detail {

void JSONValueDecoder::decodeFields(JSONReader& reader, const DecodingFieldTable& fieldTable, void* const* fields) {
  Container object(reader, '{');
  JSONScanner& scanner = reader.scanner_;
  const DecodingFieldTable::KeyIndex& keyIndex = fieldTable.keyIndex(reader.strategies_.keys);
  const std::span<const DecodingFieldTable::Key> keys = keyIndex.keys();
  std::uint64_t found = 0;
  std::size_t expected = 0;
  for (bool isFirst = true; reader.nextInside('}', isFirst); isFirst = false) {
    scanner.next();
    std::size_t index = DecodingFieldTable::KeyIndex::none;
    if (expected < keys.size() && keys[expected].matchesAt(scanner.cursor(), scanner.end())) {
      index = expected;
    } else if (!keys.empty()) {
      index = keyIndex.findAt(scanner.cursor(), scanner.end());
    }
    if (index != DecodingFieldTable::KeyIndex::none) {
      scanner.pass(keys[index].text.size());
    } else {
      index = goToMember(reader, object, keyIndex);
      if (index == DecodingFieldTable::KeyIndex::none) continue;
    }
    object.stepTo(keys[index].name());
    reader.valueStart_ = scanner.cursor();
    keys[index].decode(reader, fields[index]);
    found |= std::uint64_t{1} << index;
    expected = index + 1;
  }
  object.stepBack();

  if (std::popcount(found) == static_cast<int>(keys.size())) return;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    if ((found >> index & 1U) != 0) continue;
    if (keys[index].type->makeAbsent == nullptr) {
      throw DecodingError::keyNotFound(std::string(keys[index].name()), reader.whereIs(object.start()));
    }
    keys[index].type->makeAbsent(fields[index]);
  }
}

/// Passes a key that is not written in its plainest form, or that the model does not have: none then, and its value is
/// skipped.
std::size_t JSONValueDecoder::goToMember(JSONReader& reader, Container& object,
                                         const DecodingFieldTable::KeyIndex& keyIndex) {
  std::string unescaped;
  object.stepBack();
  const std::string_view key = reader.readKey(unescaped);
  reader.passColon();
  const std::size_t index = keyIndex.find(key);
  if (index != DecodingFieldTable::KeyIndex::none) return index;
  object.stepTo(key);
  reader.skip();
  object.stepBack();
  return index;
}

}  // namespace platform::detail
