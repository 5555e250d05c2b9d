#pragma once

#include <cstddef>
#include <string>

/// The last line of a terminal, which is written over again and again.
class TerminalLine {
 public:
  /// A descriptor, which must outlive it.
  explicit TerminalLine(int terminal) : terminal_(terminal) {}

  /// How long a text may be.
  int columns() const;
  /// ASCII, without a line break.
  void show(const std::string& text);
  /// Makes room for something else.
  void clear();

 private:
  void write(const std::string& text) const;

  const int terminal_;
  std::size_t length_ = 0;
};
