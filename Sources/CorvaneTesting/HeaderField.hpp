#pragma once

#include <string>

namespace corvane::testing {

/// One header field as it stands on the wire: the name in the sender's spelling, the value without surrounding spaces.
struct HeaderField {
  /// In the sender's spelling.
  std::string name;
  /// Without the spaces around it.
  std::string value;

  friend bool operator==(const HeaderField&, const HeaderField&) = default;
};

}  // namespace corvane::testing
