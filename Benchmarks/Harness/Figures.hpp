#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// Of the middle; of the two middle ones the mean. Requires: not empty.
double median(std::vector<double> values);

/// As by `printf`, at most 255 characters.
template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
  char text[256];
  std::snprintf(text, sizeof text, format, arguments...);
  return text;
}

/// The value and, where there is a goal, whether it is met.
std::string atLeast(double value, const std::optional<double>& bound);
std::string atMost(double value, const std::optional<double>& bound, const char* format = "%.2f");

}  // namespace bench
