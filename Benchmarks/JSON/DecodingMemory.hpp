#pragma once

#include <string>
#include <vector>

#include "JSON/Contender.hpp"

namespace bench {

/// A table of what each contender holds at most during its first decode of the document, beyond the result, as a
/// multiple of the document.
std::string decodingMemoryReport(const Document& document, const std::vector<Contender>& contenders);

}  // namespace bench
