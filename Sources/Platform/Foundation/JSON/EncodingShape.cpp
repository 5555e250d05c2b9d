#include "Platform/Foundation/JSON/EncodingShape.hpp"

#include "Platform/Foundation/JSON/DecodingShape.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform {
namespace {

/// As it stands in a document, with its quotes.
std::string quoted(std::string_view key) {
  JSONWriter writer;
  writer.writeString(key);
  return writer.finish().text();
}

std::vector<EncodingShape::Key> keysOf(std::span<const EncodingShape::Member> members, JSONKeyStrategy strategy) {
  std::vector<EncodingShape::Key> keys;
  for (const EncodingShape::Member& member : members) {
    const std::string key = member.key.empty() ? jsonKey(member.name, strategy) : std::string(member.key);
    keys.push_back({"," + quoted(key) + ":", member.type});
  }
  return keys;
}

}  // namespace

EncodingShape::EncodingShape(std::span<const Member> members)
    : keys_{keysOf(members, JSONKeyStrategy::asDeclared), keysOf(members, JSONKeyStrategy::snakeCase)} {}

}  // namespace platform
