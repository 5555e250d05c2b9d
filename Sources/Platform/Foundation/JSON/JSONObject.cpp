#include <algorithm>
#include <map>

#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace platform {
namespace {

/// Up to here looking at each member is as fast as any index.
constexpr std::size_t mostWithoutIndex = 12;

}  // namespace

/// A tree and not a table by hashes, which documents could be made to collide in.
struct JSONObject::Index {
  std::map<std::string_view, std::list<JSONMember>::iterator> members;

  explicit Index(std::list<JSONMember>& all) {
    for (auto member = all.begin(); member != all.end(); ++member) members.emplace(member->key, member);
  }
};

JSONObject::JSONObject() = default;
JSONObject::JSONObject(JSONObject&& other) noexcept
    : members_(std::move(other.members_)), index_(std::move(other.index_)) {
  other.members_.clear();
}
JSONObject::~JSONObject() = default;

JSONObject::JSONObject(const JSONObject& other) : members_(other.members_) {
  if (other.index_) index_ = std::make_unique<Index>(members_);
}

JSONObject::JSONObject(std::initializer_list<JSONMember> members) {
  for (const JSONMember& member : members) (*this)[member.key] = member.value;
}

JSONObject& JSONObject::operator=(JSONObject other) noexcept {
  members_.swap(other.members_);
  index_.swap(other.index_);
  return *this;
}

JSONMember* JSONObject::member(std::string_view key) {
  if (index_) {
    const auto found = index_->members.find(key);
    return found == index_->members.end() ? nullptr : &*found->second;
  }
  const auto found = std::ranges::find(members_, key, &JSONMember::key);
  return found == members_.end() ? nullptr : &*found;
}

JSONValue* JSONObject::find(std::string_view key) {
  JSONMember* const found = member(key);
  return found ? &found->value : nullptr;
}

const JSONValue* JSONObject::find(std::string_view key) const { return const_cast<JSONObject*>(this)->find(key); }

JSONValue& JSONObject::operator[](std::string_view key) {
  if (JSONMember* const found = member(key)) return found->value;
  members_.push_back({std::string(key), JSONValue()});
  const auto added = std::prev(members_.end());
  if (index_) {
    index_->members.emplace(added->key, added);
  } else if (members_.size() > mostWithoutIndex) {
    index_ = std::make_unique<Index>(members_);
  }
  return added->value;
}

bool JSONObject::remove(std::string_view key) {
  const auto found = index_ && index_->members.contains(key) ? index_->members.find(key)->second
                                                             : std::ranges::find(members_, key, &JSONMember::key);
  if (found == members_.end()) return false;
  if (index_) index_->members.erase(found->key);
  members_.erase(found);
  return true;
}

bool operator==(const JSONObject& left, const JSONObject& right) {
  if (left.size() != right.size()) return false;
  return std::all_of(left.begin(), left.end(), [&](const JSONMember& member) {
    const JSONValue* const other = right.find(member.key);
    return other != nullptr && *other == member.value;
  });
}

}  // namespace platform
