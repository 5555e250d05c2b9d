#pragma once

#include <string>

#include "TerminalStyle.hpp"
#include "Timeline.hpp"

/// How bars are drawn.
enum class BarStyle {
  blocks,  ///< in eighths of a column, for terminals with UTF-8
  plain    ///< in whole columns, for files and everything else
};

/// The timeline as lines of text, each ended: for each request its phases below each other, with how long each took and
/// a bar to the scale of the whole. Bars end at so many columns; where there are fewer than 33, none are drawn. Texts
/// are shortened to the columns, the last line, with the sums, is not.
std::string drawn(const Timeline& timeline, int columns, BarStyle bars, const TerminalStyle& style);

/// What suits the stream.
BarStyle barStyleFor(int stream);
