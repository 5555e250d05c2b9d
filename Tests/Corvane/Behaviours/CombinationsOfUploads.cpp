#include "Combinations.hpp"

namespace corvane::combinations {

std::vector<Combination> combinationsOfUploads() { return combinationsOf<Kind::upload>(); }

}  // namespace corvane::combinations
