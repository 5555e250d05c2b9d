#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform::detail {

/// Where a text is not JSON, and why: either `expected` or `problem` is set.
struct JSONFault {
  const char* position = nullptr;
  const char* expected = nullptr;
  const char* problem = nullptr;
};

/// Splits the bytes of a JSON document (RFC 8259) into tokens: structural characters, words, strings and numbers, with
/// white space between them. The order of the tokens is checked by `JSONReader`, not here.
///
/// `next` goes to a token and returns its first character; the function for this kind of token then passes it. It
/// returns false for an invalid token, which `fault` describes; where the cursor is then is unspecified, until
/// `moveTo`.
///
///     if (scanner.next() == '"' && !scanner.passString(text, unescaped)) report(scanner.fault());
class JSONScanner {
 public:
  /// Passes a byte-order mark (RFC 8259, 8.1). Requires: a text that outlives the scanner, with `Data::padding`
  /// readable bytes after it.
  explicit JSONScanner(std::string_view text);

  /// Passes white space: the character that stands there then, or NUL at the end.
  char next() {
    if (cursor_ < end_ && static_cast<unsigned char>(*cursor_) > ' ') return *cursor_;
    return nextAfterWhiteSpace();
  }
  /// Passes a structural character, or a token of known length.
  void pass(std::size_t count = 1) { cursor_ += count; }
  /// Passes "true", "false" or "null".
  bool passWord(std::string_view word);
  /// Passes a string. `text` is its content with the escapes resolved: a part of the document, or `unescaped` if there
  /// are escapes.
  bool passString(std::string_view& text, std::string& unescaped);
  /// Passes a number.
  bool passNumber();
  /// Of the function that returned false last.
  const JSONFault& fault() const { return fault_; }

  const char* begin() const { return begin_; }
  const char* end() const { return end_; }
  const char* cursor() const { return cursor_; }
  /// Requires: a place between two tokens.
  void moveTo(const char* place) { cursor_ = place; }
  /// The first character from that place on that is not white space.
  const char* afterWhiteSpace(const char* place) const;

 private:
  CORVANE_API char nextAfterWhiteSpace();
  bool unescape(std::string& text);
  bool unescapeCharacter(std::string& text);
  bool unescapeUnicode(std::string& text);
  bool passHexDigits(std::uint32_t& value);
  bool expect(const char* what);
  bool refuse(const char* position, const char* problem);

  const char* const begin_;
  const char* const end_;
  const char* cursor_;
  JSONFault fault_;
};

}  // namespace platform::detail
