#include "Platform/Foundation/JSON/JSONFormatting.hpp"

#include <algorithm>
#include <string_view>

#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform {
namespace {

/// Deeper levels are not indented further: nobody reads that, and a short document would become a huge one.
constexpr std::size_t mostIndented = 32;

/// Lays out a document that is known to be valid.
class PrettyPrinter {
 public:
  explicit PrettyPrinter(std::string_view document) : rest_(document) {}

  Data print() {
    while (!rest_.empty()) {
      const char c = take();
      if (c == '"') {
        string();
      } else if (c == '{' || c == '[') {
        open(c);
      } else if (c == '}' || c == ']') {
        --depth_;
        line();
        put(c);
      } else if (c == ',') {
        put(c);
        line();
      } else if (c == ':') {
        text_.append(": ");
      } else if (!isWhiteSpace(c)) {
        put(c);
      }
    }
    return text_;
  }

 private:
  static bool isWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

  char take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }
  void put(char c) { text_.append(std::string_view(&c, 1)); }
  void line() {
    put('\n');
    for (std::size_t level = 0; level < std::min(depth_, mostIndented); ++level) text_.append("  ");
  }
  void open(char bracket) {
    put(bracket);
    while (isWhiteSpace(rest_.front())) rest_.remove_prefix(1);
    if (rest_.front() == '}' || rest_.front() == ']') {
      put(take());
      return;
    }
    ++depth_;
    line();
  }
  void string() {
    std::size_t length = 0;
    for (; rest_[length] != '"'; ++length) {
      if (rest_[length] == '\\') ++length;
    }
    put('"');
    text_.append(rest_.substr(0, length + 1));
    rest_.remove_prefix(length + 1);
  }

  std::string_view rest_;
  std::size_t depth_ = 0;
  Data text_;
};

}  // namespace

Data prettyPrintedJSON(const Data& document) {
  JSONReader reader(document);
  reader.skip();
  reader.finish();
  std::string_view text = document.view();
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  return PrettyPrinter(text).print();
}

}  // namespace platform
