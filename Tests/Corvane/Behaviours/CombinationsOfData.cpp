#include "Combinations.hpp"

namespace corvane::combinations {

std::vector<Combination> combinationsOfData() { return combinationsOf<Kind::data>(); }

}  // namespace corvane::combinations
