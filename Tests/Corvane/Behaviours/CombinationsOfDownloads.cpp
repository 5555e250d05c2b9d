#include "Combinations.hpp"

namespace corvane::combinations {

std::vector<Combination> combinationsOfDownloads() { return combinationsOf<Kind::download>(); }

}  // namespace corvane::combinations
