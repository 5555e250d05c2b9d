#pragma once

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONEncoding.hpp"
#include "Platform/Foundation/JSON/JSONFormatting.hpp"
#include "Platform/Foundation/JSON/JSONStandardTypes.hpp"

namespace platform {

/// Makes JSON documents (RFC 8259) of values; of which types, and how they look, see `JSONDecoder`.
///
///     const Data document = JSONEncoder().encode(user);  // {"id":7,"login":"ada"}
///
/// Members come in the order of their declaration, those of a map in its own order; absent optionals are left
/// out of objects and null in arrays. Numbers are the shortest that read back the same. There is no white space,
/// unless it is asked for. `/` and characters outside of ASCII are written as they are; quotes, backslashes and
/// control characters are escaped. A small value, to be used on any thread.
class JSONEncoder {
 public:
  JSONEncoder() = default;
  /// Writes dates and keys as the strategies say, compactly or pretty-printed.
  explicit JSONEncoder(const JSONStrategies& strategies, JSONFormatting formatting = JSONFormatting::compact)
      : strategies_(strategies), formatting_(formatting) {}

  /// Throws `EncodingError`, and what the codecs of the types throw.
  template <class T>
  Data encode(const T& value) const {
    JSONWriter writer(strategies_);
    writer.encode(value);
    const Data document = writer.finish();
    return formatting_ == JSONFormatting::pretty ? prettyPrintedJSON(document) : document;
  }

 private:
  JSONStrategies strategies_;
  JSONFormatting formatting_ = JSONFormatting::compact;
};

}  // namespace platform
