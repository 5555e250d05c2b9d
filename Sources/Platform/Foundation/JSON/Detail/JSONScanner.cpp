#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"

#include <algorithm>
#include <cstring>

#include "Platform/Foundation/JSON/Internal/JSONScannerNumbers.hpp"

namespace platform::detail {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isJSONWhiteSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

}  // namespace

JSONScanner::JSONScanner(std::string_view text)
    : begin_(text.data()),
      end_(begin_ + text.size()),
      cursor_(begin_ + (text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0)) {}

char JSONScanner::nextAfterWhiteSpace() {
  cursor_ = afterWhiteSpace(cursor_);
  return cursor_ < end_ ? *cursor_ : '\0';
}

const char* JSONScanner::afterWhiteSpace(const char* place) const {
  return std::find_if_not(place, end_, isJSONWhiteSpace);
}

bool JSONScanner::passWord(std::string_view word) {
  const bool isThere = static_cast<std::size_t>(end_ - cursor_) >= word.size() &&
                       std::memcmp(cursor_, word.data(), 4) == 0 && cursor_[word.size() - 1] == word.back();
  if (!isThere) return expect(word.data());
  cursor_ += word.size();
  return true;
}

bool JSONScanner::passNumber() {
  JSONNumber number;
  if (!scanNumber(cursor_, end_, number)) {
    fault_ = faultOfNumber(number.end, end_);
    return false;
  }
  cursor_ = number.end;
  return true;
}

/// Something else than what stands at the cursor.
bool JSONScanner::expect(const char* what) {
  fault_ = {.position = cursor_, .expected = what};
  return false;
}

bool JSONScanner::refuse(const char* position, const char* problem) {
  fault_ = {.position = position, .problem = problem};
  return false;
}

}  // namespace platform::detail
