#pragma once

#include <string>

namespace corvane::testkit {

/// A header field as received: the name in the sender's spelling, the value without surrounding spaces.
///
///     for (const HeaderField& field : server.takeRequest().headers) show(field.name, field.value);
struct HeaderField {
  /// In the sender's spelling.
  std::string name;
  /// Without surrounding spaces.
  std::string value;

  friend bool operator==(const HeaderField&, const HeaderField&) = default;
};

}  // namespace corvane::testkit
