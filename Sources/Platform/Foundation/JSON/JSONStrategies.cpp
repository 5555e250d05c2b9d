#include "Platform/Foundation/JSON/JSONStrategies.hpp"

#include <cstddef>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform {

std::string jsonKey(std::string_view memberName, JSONKeyStrategy strategy) {
  if (strategy == JSONKeyStrategy::asDeclared) return std::string(memberName);
  std::string key;
  for (std::size_t index = 0; index < memberName.size(); ++index) {
    const char c = memberName[index];
    if (!detail::isUpper(c)) {
      key.push_back(c);
      continue;
    }
    // A word starts after a small letter, and at the last capital of a run of them: "myURLPath".
    const bool isAfterWord = index > 0 && !detail::isUpper(memberName[index - 1]) && memberName[index - 1] != '_';
    const bool startsWord = index > 0 && detail::isUpper(memberName[index - 1]) && index + 1 < memberName.size() &&
                            !detail::isUpper(memberName[index + 1]) && memberName[index + 1] != '_';
    if (isAfterWord || startsWord) key.push_back('_');
    key.push_back(detail::asciiLower(c));
  }
  return key;
}

}  // namespace platform
