#include "NearestName.hpp"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::size_t mostEdits = 2;

/// How many letters have to be put in, taken out or changed (Levenshtein).
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, changed});
    }
  }
  return row.back();
}

}  // namespace

std::string nearestName(std::string_view written, const std::vector<std::string>& names) {
  std::string nearest;
  std::size_t least = mostEdits + 1;
  for (const std::string& name : names) {
    const bool isBeginning = written.size() > 2 && name.starts_with(written);
    const std::size_t edits = isBeginning ? 1 : distance(written, name);
    if (edits < least) {
      least = edits;
      nearest = name;
    }
  }
  return nearest;
}
