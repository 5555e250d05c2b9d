#include "Platform/Foundation/JSON/DecodingShape.hpp"

#include <algorithm>

#include "Platform/Trap.hpp"

namespace platform {
namespace {

bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }

bool needsEscapes(const std::string& key) {
  return std::ranges::any_of(key, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; });
}

}  // namespace

std::string jsonKey(std::string_view memberName, JSONKeyStrategy strategy) {
  if (strategy == JSONKeyStrategy::asDeclared) return std::string(memberName);
  std::string key;
  for (std::size_t index = 0; index < memberName.size(); ++index) {
    const char c = memberName[index];
    if (!isUpper(c)) {
      key.push_back(c);
      continue;
    }
    // A word starts after a small letter, and at the last capital of a run of them: "myURLPath".
    const bool isBehindWord = index > 0 && !isUpper(memberName[index - 1]) && memberName[index - 1] != '_';
    const bool startsWord = index > 0 && isUpper(memberName[index - 1]) && index + 1 < memberName.size() &&
                            !isUpper(memberName[index + 1]) && memberName[index + 1] != '_';
    if (isBehindWord || startsWord) key.push_back('_');
    key.push_back(static_cast<char>(c - 'A' + 'a'));
  }
  return key;
}

DecodingShape::DecodingShape(std::span<const Member> members)
    : tables_{Table(members, JSONKeyStrategy::asDeclared), Table(members, JSONKeyStrategy::snakeCase)} {}

void DecodingShape::trapForKeysThatAreAlike() { trap("JSON: two members of a model have the same key"); }

DecodingShape::Table::Table(std::span<const Member> members, JSONKeyStrategy strategy) {
  keys_.reserve(members.size());
  for (const Member& member : members) {
    const std::string key = member.key.empty() ? jsonKey(member.name, strategy) : std::string(member.key);
    areKeysAlike_ = areKeysAlike_ || findOneByOne(key) != none;
    if (member.type->makeAbsent == nullptr) required_ |= std::uint64_t{1} << keys_.size();
    keys_.push_back({(needsEscapes(key) ? " " : "\"") + key + "\":", member.type});
  }
  // Any odd factor spreads the keys somehow; one that spreads them without a collision is soon found.
  factor_ = 1;
  for (int attempt = 0; attempt < 200 && !areSlotsExact_; ++attempt, factor_ += 2) areSlotsExact_ = fillSlots();
  if (areSlotsExact_) factor_ -= 2;
}

bool DecodingShape::Table::fillSlots() {
  slots_.fill(UINT8_MAX);
  bool isExact = true;
  for (std::size_t index = 0; index < keys_.size(); ++index) {
    std::uint8_t& slot = slots_[slotOf(keys_[index].name())];
    isExact = isExact && slot == UINT8_MAX;
    slot = static_cast<std::uint8_t>(index);
  }
  return isExact;
}

std::size_t DecodingShape::Table::slotOf(std::string_view key) const {
  if (key.empty()) return 0;
  const auto at = [&](std::size_t index) { return static_cast<std::uint32_t>(static_cast<unsigned char>(key[index])); };
  const std::uint32_t mixed = at(0) + (at(key.size() - 1) << 6U) + (at(key.size() / 2) << 12U) +
                              (static_cast<std::uint32_t>(key.size()) << 18U);
  return ((mixed * (factor_ * 0x9E3779B1U)) >> 24U) % slotCount;
}

std::size_t DecodingShape::Table::findOneByOne(std::string_view key) const {
  const auto found = std::ranges::find_if(keys_, [&](const Key& other) { return other.name() == key; });
  return found == keys_.end() ? none : static_cast<std::size_t>(found - keys_.begin());
}

}  // namespace platform
