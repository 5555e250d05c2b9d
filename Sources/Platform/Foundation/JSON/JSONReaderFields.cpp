#include <bit>
#include <cstring>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/DecodingShape.hpp"
#include "Platform/Foundation/JSON/Internal/ReaderLevel.hpp"

namespace platform {
namespace {

bool standsAt(const char* cursor, const char* end, const std::string& text) {
  const std::size_t size = text.size();
  if (static_cast<std::size_t>(end - cursor) < size) return false;
  if (size < 8) return std::memcmp(cursor, text.data(), size) == 0;
  // Two words that overlap cover most keys, without a call.
  const auto wordAt = [](const char* place) {
    std::uint64_t word;
    std::memcpy(&word, place, sizeof word);
    return word;
  };
  if (wordAt(cursor) != wordAt(text.data()) || wordAt(cursor + size - 8) != wordAt(text.data() + size - 8))
    return false;
  return size <= 16 || std::memcmp(cursor + 8, text.data() + 8, size - 16) == 0;
}

}  // namespace

void JSONReader::readFields(const DecodingShape& shape, void* const* fields) {
  if (next() != '{') failMismatch("an object");
  const char* const start = cursor_;
  const DecodingShape::Table& table = shape.table(strategies_.keys);
  const std::span<const DecodingShape::Key> keys = table.keys();

  Place place;
  place.parent = place_;
  const Level level(*this, place);
  std::uint64_t found = 0;
  std::size_t expected = 0;
  std::string unescaped;
  for (bool isFirst = true; nextInside('}', isFirst); isFirst = false) {
    next();
    std::size_t index = expected;
    if (expected < keys.size() && standsAt(cursor_, end_, keys[expected].text)) {
      cursor_ += keys[expected].text.size();
    } else {
      place.step = Place::Step::none;
      const std::string_view key = readKey(unescaped);
      passColon();
      index = table.find(key);
      if (index == DecodingShape::Table::none) {
        place.key = key;
        place.step = Place::Step::key;
        skip();
        place.step = Place::Step::none;
        continue;
      }
    }
    place.key = keys[index].name();
    place.step = Place::Step::key;
    valueStart_ = cursor_;
    keys[index].type->decode(*this, fields[index]);
    found |= std::uint64_t{1} << index;
    expected = index + 1;
  }
  place.step = Place::Step::none;

  if (std::popcount(found) == static_cast<int>(keys.size())) return;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    if ((found >> index & 1U) != 0) continue;
    if (keys[index].type->makeAbsent == nullptr) {
      throw DecodingError::keyNotFound(std::string(keys[index].name()), whereIs(start));
    }
    keys[index].type->makeAbsent(fields[index]);
  }
}

}  // namespace platform
