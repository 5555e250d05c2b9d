#include <bit>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/DecodingShape.hpp"
#include "Platform/Foundation/JSON/Internal/ReaderLevel.hpp"

namespace platform {
/// Passes a key; none for one that the model does not have.
std::size_t JSONReader::readMember(const DecodingShape& shape, Place& place) {
  std::string unescaped;
  place.step = Place::Step::none;
  const std::string_view key = readKey(unescaped);
  passColon();
  const std::size_t index = shape.table(strategies_.keys).find(key);
  if (index != DecodingShape::Table::none) return index;
  place.key = key;
  place.step = Place::Step::key;
  skip();
  place.step = Place::Step::none;
  return index;
}

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
  for (bool isFirst = true; nextInside('}', isFirst); isFirst = false) {
    next();
    std::size_t index = DecodingShape::Table::none;
    if (expected < keys.size() && keys[expected].standsAt(cursor_, end_)) {
      index = expected;
    } else if (!keys.empty()) {
      index = table.findAt(cursor_, end_);
    }
    if (index != DecodingShape::Table::none) {
      cursor_ += keys[index].text.size();
    } else {
      index = readMember(shape, place);
      if (index == DecodingShape::Table::none) continue;
    }
    place.key = keys[index].name();
    place.step = Place::Step::key;
    valueStart_ = cursor_;
    keys[index].decode(*this, fields[index]);
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
