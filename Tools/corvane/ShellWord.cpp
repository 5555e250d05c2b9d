#include "ShellWord.hpp"

// Within single quotes everything is literal but the quote itself.
std::string shellWord(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}
