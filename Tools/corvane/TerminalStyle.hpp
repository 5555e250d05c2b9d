#pragma once

#include <string>
#include <string_view>

/// Emphasis for a person at a terminal. Text stays as it is where the stream is none, where the environment has a
/// NO_COLOR that is not empty (https://no-color.org), and where TERM is "dumb".
class TerminalStyle {
 public:
  explicit TerminalStyle(int stream);

  bool isOn() const { return isOn_; }
  std::string problem(std::string_view text) const { return styled("1;31", text); }
  std::string heading(std::string_view text) const { return styled("1", text); }
  std::string key(std::string_view text) const { return styled("34", text); }
  std::string string(std::string_view text) const { return styled("32", text); }
  std::string literal(std::string_view text) const { return styled("35", text); }

 private:
  /// ECMA-48, 8.3.117 (SGR).
  std::string styled(const char* rendition, std::string_view text) const;

  const bool isOn_;
};

/// JSON, which must be valid, with its keys, strings and literals told apart.
std::string styledJSON(std::string_view json, const TerminalStyle& style);
