#pragma once

#include <cstdint>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/Detail/EncodingFieldTable.hpp"
#include "Platform/Foundation/JSON/JSONWriter.hpp"

namespace platform::detail {

/// What is compiled once of writing C++ types; the templates of `JSONEncoding.hpp` come down to this. Each function
/// writes one value, or throws `EncodingError`.
struct JSONValueEncoder {
  /// An object of the members whose addresses these are, in the order of the field table; absent ones are left out.
  CORVANE_API static void encodeFields(JSONWriter& writer, const EncodingFieldTable& fieldTable,
                                       const void* const* fields);
  /// A date by the strategy; see `JSONValueDecoder::decodeTime`.
  CORVANE_API static void encodeTime(JSONWriter& writer, std::int64_t count, std::int64_t numerator,
                                     std::int64_t denominator);

 private:
  class Scope;
};

}  // namespace platform::detail
