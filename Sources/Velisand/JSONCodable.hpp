#pragma once

#include <concepts>
#include <type_traits>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Foundation/JSON/JSONValue.hpp"
#include "Platform/Foundation/URL.hpp"

namespace velisand {

namespace detail {
template <class T>
concept NamesDecoder = requires {
  { T::decoder() } -> std::convertible_to<platform::JSONDecoder>;
};
template <class T>
concept NamesEncoder = requires {
  { T::encoder() } -> std::convertible_to<platform::JSONEncoder>;
};

/// The bytes of a regular file. Throws what the file manager throws.
CORVANE_API platform::Data contentsOf(const platform::URL& file);
}  // namespace detail

/// A type that can be decoded from a JSON document; `platform::JSONDecoder` lists such types. A type may name its
/// decoder: `static JSONDecoder decoder() { return JSONDecoder({.keys = JSONKeyStrategy::snakeCase}); }`. All other
/// types use a decoder with the default settings.
template <class T>
concept JSONDecodable = platform::JSONReadable<T>;

/// A type that can be encoded as a JSON document. A type may name its encoder in the same way: `static JSONEncoder
/// encoder()`.
template <class T>
concept JSONEncodable = platform::JSONWritable<T>;

/// Decodes a value from a JSON document. Throws `platform::DecodingError`, and what the type's codec throws.
template <JSONDecodable T>
T fromJSON(const platform::Data& document) {
  if constexpr (detail::NamesDecoder<T>) {
    return platform::JSONDecoder(T::decoder()).template decode<T>(document);
  } else {
    return platform::JSONDecoder().decode<T>(document);
  }
}

/// Decodes a value from the JSON document in a file. Also throws what reading the file throws.
template <JSONDecodable T>
T fromJSON(const platform::URL& file) {
  return fromJSON<T>(detail::contentsOf(file));
}

/// Encodes a value as a JSON document. Throws `platform::EncodingError`, and what the type's codec throws.
template <JSONEncodable T>
platform::Data asJSON(const T& value) {
  if constexpr (detail::NamesEncoder<T>) {
    return platform::JSONEncoder(T::encoder()).encode(value);
  } else {
    return platform::JSONEncoder().encode(value);
  }
}

}  // namespace velisand
