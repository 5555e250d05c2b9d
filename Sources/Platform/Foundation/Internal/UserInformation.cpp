#include "Platform/Foundation/Internal/UserInformation.hpp"

#include <algorithm>
#include <cstddef>

namespace platform::detail {

std::string withoutUserInformation(std::string_view text) {
  const std::size_t slashes = text.find("//");
  if (slashes == std::string_view::npos) return std::string(text);
  const std::size_t start = slashes + 2;
  const std::size_t end = std::min(text.find_first_of("/?#", start), text.size());
  const std::size_t sign = text.substr(0, end).rfind('@');
  if (sign == std::string_view::npos || sign < start) return std::string(text);
  return std::string(text.substr(0, start)) + "***" + std::string(text.substr(sign));
}

}  // namespace platform::detail
