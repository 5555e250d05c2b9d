#include "Platform/Foundation/JSON/Detail/EncodingFieldTable.hpp"

#include <algorithm>

#include "Platform/Foundation/JSON/Detail/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform::detail {
namespace {

/// As it stands in a document, with its quotes.
std::string quoted(std::string_view key) {
  JSONWriter writer;
  writer.writeString(key);
  return writer.finish().text();
}

}  // namespace

EncodingFieldTable::Keys::Keys(std::span<const Member> members, JSONKeyStrategy strategy) {
  for (const Member& member : members) {
    const std::string key = member.key.data() == nullptr ? jsonKey(member.name, strategy) : std::string(member.key);
    all.push_back({"," + quoted(key) + ":", member.type});
    const auto isLikeIt = [&](const Key& other) { return other.text == all.back().text; };
    areAlike = areAlike || std::find_if(all.begin(), all.end() - 1, isLikeIt) != all.end() - 1;
  }
}

EncodingFieldTable::EncodingFieldTable(std::span<const Member> members)
    : keys_{Keys(members, JSONKeyStrategy::asDeclared), Keys(members, JSONKeyStrategy::snakeCase)} {}

void EncodingFieldTable::trapForKeysThatAreAlike() { DecodingFieldTable::trapForKeysThatAreAlike(); }

}  // namespace platform::detail
