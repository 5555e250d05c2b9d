#pragma once

#include <cstdint>

#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform::detail {

/// What all Content-Length fields together say (RFC 9110, 8.6). Equal repetitions count as one, in one
/// field ("5, 5") or in several.
struct ContentLength {
  enum class Kind {
    absent,
    known,
    malformed,   ///< not digits, or beyond 64 bits
    conflicting  ///< differing lengths
  };
  Kind kind = Kind::absent;
  std::int64_t bytes = 0;
  /// How often the length is said.
  int occurrences = 0;

  static ContentLength of(const HTTPHeaderFields& fields);
};

}  // namespace platform::detail
