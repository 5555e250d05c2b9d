#include "Platform/Foundation/JSON/CodingKey.hpp"

#include <algorithm>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform {
namespace {

bool isIdentifier(const std::string& name) {
  const auto isPart = [](char c) { return detail::isLetterOrDigit(c) || c == '_' || c == '$'; };
  return !name.empty() && std::all_of(name.begin(), name.end(), isPart);
}

}  // namespace

std::string description(std::span<const CodingKey> path) {
  std::string text;
  for (const CodingKey& key : path) {
    if (key.index()) {
      text.append("[").append(std::to_string(*key.index())).append("]");
    } else if (isIdentifier(key.name())) {
      if (!text.empty()) text.append(".");
      text.append(key.name());
    } else {
      text.append("[\"").append(key.name()).append("\"]");
    }
  }
  return text;
}

}  // namespace platform
