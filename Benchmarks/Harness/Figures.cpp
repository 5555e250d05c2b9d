#include "Harness/Figures.hpp"

#include <algorithm>

namespace bench {
namespace {

std::string held(bool met, const char* relation, double bound) {
  return formatted(" (%s %.4g: %s)", relation, bound, met ? "met" : "MISSED");
}

}  // namespace

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

std::string atLeast(double value, const std::optional<double>& bound) {
  return formatted("%.2f", value) + (bound ? held(value >= *bound, ">=", *bound) : "");
}

std::string atMost(double value, const std::optional<double>& bound, const char* format) {
  return formatted(format, value) + (bound ? held(value <= *bound, "<=", *bound) : "");
}

}  // namespace bench
