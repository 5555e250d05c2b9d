#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// JSON (RFC 8259) on one line, put together from parts that are JSON already.
namespace json {

/// Bytes that are not UTF-8 become U+FFFD.
std::string text(std::string_view value);
std::string number(std::int64_t value);
/// With six digits behind the point.
std::string number(double value);
inline constexpr const char* null = "null";
/// `null` when absent.
std::string textOrNull(const std::optional<std::string>& value);
std::string array(const std::vector<std::string>& items);

class Object {
 public:
  Object& add(std::string_view name, std::string_view value);
  std::string text() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};

}  // namespace json
