#pragma once

#include <algorithm>

#include "Platform/Foundation/JSON/JSONValue.hpp"

namespace corvane::testing {

/// Whether `after` is what `before` becomes when it is written and read again: the same, but that doubles
/// without fraction come back as integers, for they are written without a point.
inline bool readsBack(const platform::JSONValue& before, const platform::JSONValue& after) {
  if (const auto* elements = before.array()) {
    return after.array() != nullptr && std::ranges::equal(*elements, *after.array(), readsBack);
  }
  if (const auto* members = before.object()) {
    const auto sameMember = [](const platform::JSONMember& left, const platform::JSONMember& right) {
      return left.key == right.key && readsBack(left.value, right.value);
    };
    return after.object() != nullptr && std::ranges::equal(*members, *after.object(), sameMember);
  }
  const bool isDouble = before.number() && !before.integer() && !before.unsignedInteger();
  return isDouble ? before.number() == after.number() : before == after;
}

}  // namespace corvane::testing
