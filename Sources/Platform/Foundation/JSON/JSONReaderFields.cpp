#include <bit>

#include "Platform/Foundation/JSON/DecodingError.hpp"
#include "Platform/Foundation/JSON/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/Internal/ReaderScope.hpp"

namespace platform {
/// Passes a key; none for one that the model does not have.
std::size_t JSONReader::readMember(const DecodingFieldTable& fieldTable, PathNode& node) {
  std::string unescaped;
  node.step = PathNode::Step::none;
  const std::string_view key = readKey(unescaped);
  passColon();
  const std::size_t index = fieldTable.keyIndex(strategies_.keys).find(key);
  if (index != DecodingFieldTable::KeyIndex::none) return index;
  node.key = key;
  node.step = PathNode::Step::key;
  skip();
  node.step = PathNode::Step::none;
  return index;
}

void JSONReader::readFields(const DecodingFieldTable& fieldTable, void* const* fields) {
  if (next() != '{') failMismatch("an object");
  const char* const start = cursor_;
  const DecodingFieldTable::KeyIndex& keyIndex = fieldTable.keyIndex(strategies_.keys);
  const std::span<const DecodingFieldTable::Key> keys = keyIndex.keys();

  PathNode node;
  node.parent = node_;
  const Scope scope(*this, node);
  std::uint64_t found = 0;
  std::size_t expected = 0;
  for (bool isFirst = true; nextInside('}', isFirst); isFirst = false) {
    next();
    std::size_t index = DecodingFieldTable::KeyIndex::none;
    if (expected < keys.size() && keys[expected].matchesAt(cursor_, end_)) {
      index = expected;
    } else if (!keys.empty()) {
      index = keyIndex.findAt(cursor_, end_);
    }
    if (index != DecodingFieldTable::KeyIndex::none) {
      cursor_ += keys[index].text.size();
    } else {
      index = readMember(fieldTable, node);
      if (index == DecodingFieldTable::KeyIndex::none) continue;
    }
    node.key = keys[index].name();
    node.step = PathNode::Step::key;
    valueStart_ = cursor_;
    keys[index].decode(*this, fields[index]);
    found |= std::uint64_t{1} << index;
    expected = index + 1;
  }
  node.step = PathNode::Step::none;

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
