#include <algorithm>
#include <bit>
#include <functional>

#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

/// Up to here looking at each member is as fast as any index.
constexpr std::size_t mostWithoutIndex = 12;
constexpr std::uint32_t emptySlot = UINT32_MAX;

std::size_t hash(std::string_view key) { return std::hash<std::string_view>()(key); }

}  // namespace

JSONObject::JSONObject() noexcept = default;
JSONObject::JSONObject(const JSONObject& other) = default;
JSONObject::JSONObject(JSONObject&& other) noexcept = default;
JSONObject& JSONObject::operator=(const JSONObject& other) = default;
JSONObject& JSONObject::operator=(JSONObject&& other) noexcept = default;
JSONObject::~JSONObject() = default;

JSONObject::JSONObject(std::initializer_list<JSONMember> members) {
  members_.reserve(members.size());
  for (const JSONMember& member : members) (*this)[member.key] = member.value;
}

std::size_t JSONObject::size() const noexcept { return members_.size(); }
const JSONMember* JSONObject::begin() const noexcept { return members_.data(); }
const JSONMember* JSONObject::end() const noexcept { return members_.data() + members_.size(); }

const JSONValue* JSONObject::find(std::string_view key) const {
  const std::size_t place = indexOf(key);
  return place == none ? nullptr : &members_[place].value;
}

JSONValue* JSONObject::find(std::string_view key) {
  const std::size_t place = indexOf(key);
  return place == none ? nullptr : &members_[place].value;
}

JSONValue& JSONObject::operator[](std::string_view key) {
  std::size_t place = indexOf(key);
  if (place == none) {
    place = members_.size();
    members_.push_back({std::string(key), JSONValue()});
    const bool isIndexed = members_.size() > mostWithoutIndex;
    if (isIndexed && slots_.size() < members_.size() * 2) {
      rebuildIndex();
    } else if (isIndexed) {
      addToIndex(place);
    }
  }
  return members_[place].value;
}

bool JSONObject::remove(std::string_view key) {
  const std::size_t place = indexOf(key);
  if (place == none) return false;
  members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(place));
  rebuildIndex();
  return true;
}

std::size_t JSONObject::indexOf(std::string_view key) const {
  if (slots_.empty()) {
    const auto found = std::ranges::find(members_, key, &JSONMember::key);
    return found == members_.end() ? none : static_cast<std::size_t>(found - members_.begin());
  }
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = hash(key) & mask; slots_[slot] != emptySlot; slot = (slot + 1) & mask) {
    if (members_[slots_[slot]].key == key) return slots_[slot];
  }
  return none;
}

void JSONObject::addToIndex(std::size_t place) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash(members_[place].key) & mask;
  while (slots_[slot] != emptySlot) slot = (slot + 1) & mask;
  slots_[slot] = static_cast<std::uint32_t>(place);
}

void JSONObject::rebuildIndex() {
  slots_.clear();
  if (members_.size() <= mostWithoutIndex) return;
  slots_.assign(std::bit_ceil(members_.size() * 4), emptySlot);
  for (std::size_t place = 0; place < members_.size(); ++place) addToIndex(place);
}

bool operator==(const JSONObject& left, const JSONObject& right) {
  if (left.size() != right.size()) return false;
  return std::all_of(left.begin(), left.end(), [&](const JSONMember& member) {
    const JSONValue* const other = right.find(member.key);
    return other != nullptr && *other == member.value;
  });
}

}  // namespace platform
