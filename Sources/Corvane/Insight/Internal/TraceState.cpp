#include "Corvane/Insight/Internal/TraceState.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace corvane::detail {

namespace {

constexpr std::size_t mostMembers = 32;
constexpr std::size_t longestKey = 256;
constexpr std::size_t longestTenant = 241;
constexpr std::size_t longestSystem = 14;
constexpr std::size_t longestValue = 256;

bool isLowerCase(char c) { return c >= 'a' && c <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isOfKey(char c) { return isLowerCase(c) || isDigit(c) || c == '_' || c == '-' || c == '*' || c == '/'; }

bool isKeyPart(std::string_view text, std::size_t longest, bool mayBeginWithDigit) {
  if (text.empty() || text.size() > longest) return false;
  const bool isBegun = isLowerCase(text.front()) || (mayBeginWithDigit && isDigit(text.front()));
  return isBegun && std::all_of(text.begin(), text.end(), isOfKey);
}

bool isKey(std::string_view text) {
  const std::size_t at = text.find('@');
  if (at == text.npos) return isKeyPart(text, longestKey, false);
  return isKeyPart(text.substr(0, at), longestTenant, true) && isKeyPart(text.substr(at + 1), longestSystem, false);
}

bool isValue(std::string_view text) {
  if (text.empty() || text.size() > longestValue || text.back() == ' ') return false;
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~' && c != ',' && c != '='; });
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view space = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(space), text.size()));
  return text.substr(0, text.find_last_not_of(space) + 1);
}

}  // namespace

std::string validTraceState(std::string_view list) {
  std::string valid;
  std::vector<std::string_view> keys;
  for (std::size_t start = 0; start < list.size();) {
    const std::size_t comma = std::min(list.find(',', start), list.size());
    const std::string_view member = trimmed(list.substr(start, comma - start));
    start = comma + 1;
    if (member.empty()) continue;
    const std::size_t equals = member.find('=');
    if (equals == member.npos) return {};
    const std::string_view key = member.substr(0, equals);
    const bool isKnown = std::find(keys.begin(), keys.end(), key) != keys.end();
    if (isKnown || !isKey(key) || !isValue(member.substr(equals + 1)) || keys.size() == mostMembers) return {};
    keys.push_back(key);
    if (!valid.empty()) valid += ',';
    valid += member;
  }
  return valid;
}

}  // namespace corvane::detail
