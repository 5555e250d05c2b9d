#pragma once

#include <cstddef>
#include <string>

#include "JSON/Model.hpp"

namespace bench {

enum class KeyOrder { declared, shuffled };

/// Compact JSON, and what it means.
struct Document {
  std::string text;
  Records records;
  KeyOrder keyOrder = KeyOrder::declared;
};

/// An array of as many records as need `byteCount` bytes; the same one each time.
Document makeDocument(std::size_t byteCount, KeyOrder keyOrder);

}  // namespace bench
