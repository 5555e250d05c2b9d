#include "Platform/Foundation/JSON/Detail/DecodingFieldTable.hpp"

#include <algorithm>
#include <cstring>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Trap.hpp"

namespace platform::detail {
namespace {

bool needsEscapes(std::string_view key) {
  return std::ranges::any_of(key, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; });
}

}  // namespace

DecodingFieldTable::DecodingFieldTable(std::span<const Member> members)
    : keyIndexes_{KeyIndex(members, JSONKeyStrategy::asDeclared), KeyIndex(members, JSONKeyStrategy::snakeCase)} {}

void DecodingFieldTable::trapForKeysThatAreAlike() { trap("JSON: two members of a model have the same key"); }

DecodingFieldTable::Key::Key(std::string_view name, const JSONDecoding* typeOfMember)
    : text((needsEscapes(name) ? " " : "\"") + std::string(name) + "\":"),
      type(typeOfMember),
      decode(typeOfMember->decode),
      tailOffset_(std::min(std::max(text.size(), wordSize), Data::padding) - wordSize) {
  char word[wordSize] = {};
  const std::size_t length = std::min(text.size(), wordSize);
  std::memcpy(word, text.data(), length);
  head_ = wordAt(word);
  std::memcpy(word, text.data() + tailOffset_, length);
  tail_ = wordAt(word);
  std::memset(word, 0xFF, length);
  mask_ = wordAt(word);
}

DecodingFieldTable::KeyIndex::KeyIndex(std::span<const Member> members, JSONKeyStrategy strategy) {
  keys_.reserve(members.size());
  for (const Member& member : members) {
    const std::string key = member.key.data() == nullptr ? jsonKey(member.name, strategy) : std::string(member.key);
    areKeysAlike_ = areKeysAlike_ || find(key) != none;
    if (member.type->makeAbsent == nullptr) required_ |= std::uint64_t{1} << keys_.size();
    keys_.emplace_back(key, member.type);
  }
  if (keys_.empty()) return;
  const auto isShorter = [](const Key& left, const Key& right) { return left.text.size() < right.text.size(); };
  const std::size_t shortest = std::ranges::min_element(keys_, isShorter)->text.size();
  for (std::size_t length = 1; length <= std::min(shortest - 1, sizeof mask_); ++length) {
    for (std::size_t offset = 1; offset + length <= shortest && offset <= mostOffset; ++offset) {
      if (tellApart(offset, length)) return;
    }
  }
}

/// Whether these characters of the keys do.
bool DecodingFieldTable::KeyIndex::tellApart(std::size_t offset, std::size_t length) {
  char bytes[sizeof mask_] = {};
  std::memset(bytes, 0xFF, length);
  mask_ = wordAt(bytes);
  offset_ = offset;
  std::vector<std::string> parts;
  parts.reserve(keys_.size());
  for (const Key& key : keys_) parts.push_back(key.text.substr(offset, length));
  std::ranges::sort(parts);
  if (std::ranges::adjacent_find(parts) != parts.end()) return false;
  // Any odd factor spreads them somehow, and one that gives each a slot of its own is soon found.
  factor_ = 1;
  for (int attempt = 0; attempt < 500; ++attempt) {
    factor_ += 0x9E3779B97F4A7C16U;
    if (fillSlots()) return true;
  }
  return false;
}

/// Slots without a member of their own lead to the first one.
bool DecodingFieldTable::KeyIndex::fillSlots() {
  std::array<bool, std::size_t{1} << slotBits> areTaken{};
  slots_.fill(0);
  for (std::size_t index = 0; index < keys_.size(); ++index) {
    const std::string padded = keys_[index].text + std::string(mostOffset + sizeof mask_, '\0');
    const std::uint64_t word = wordAt(padded.data() + offset_) & mask_;
    const auto slot = static_cast<std::size_t>((word * factor_) >> (64 - slotBits));
    if (areTaken[slot]) return false;
    areTaken[slot] = true;
    slots_[slot] = static_cast<std::uint8_t>(index);
  }
  return true;
}

std::size_t DecodingFieldTable::KeyIndex::find(std::string_view key) const {
  const auto found = std::ranges::find_if(keys_, [&](const Key& other) { return other.name() == key; });
  return found == keys_.end() ? none : static_cast<std::size_t>(found - keys_.begin());
}

}  // namespace platform::detail
