#pragma once

#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONEncoding.hpp"
#include "Platform/Foundation/JSON/JSONFormatting.hpp"
#include "Platform/Foundation/JSON/JSONStandardTypes.hpp"

namespace platform {

/// Encodes values as JSON documents (RFC 8259). `JSONDecoder` lists the types and their representation.
///
///     const Data document = JSONEncoder().encode(user);  // {"id":7,"login":"ada"}
///
/// Members are written in the order of their declaration, those of a map in the map's order. Absent optionals are left
/// out of objects, and are null in arrays. Numbers are the shortest decimals that read back the same. There is no white
/// space by default. `/` and characters outside of ASCII are written as they are; quotes, backslashes and control
/// characters are escaped. A small value, to be used on any thread.
class JSONEncoder {
 public:
  JSONEncoder() = default;
  /// An encoder with these strategies for dates and keys, compact or pretty-printed.
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
