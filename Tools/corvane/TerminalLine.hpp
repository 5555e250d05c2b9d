#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The last line of a terminal, or the last few, which are written over again and again.
class TerminalLine {
 public:
  /// A descriptor, which must outlive it.
  explicit TerminalLine(int terminal) : terminal_(terminal) {}

  /// How long a text may be.
  int columns() const;
  /// How many lines there may be: one where the terminal cannot go back to a line above.
  std::size_t rows() const;
  /// ASCII, without a line break.
  void show(const std::string& text);
  /// The same for several lines, in the place of those that were shown last.
  void show(const std::vector<std::string>& lines);
  /// Makes room for something else.
  void clear();

 private:
  void write(const std::string& text) const;
  std::string toTheFirstLine() const;

  const int terminal_;
  /// Of the last line that is shown.
  std::size_t length_ = 0;
  std::size_t linesAbove_ = 0;
};
