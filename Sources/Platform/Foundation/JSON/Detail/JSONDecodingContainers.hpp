#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/JSON/Detail/JSONTypes.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

/// How containers are read, element by element.

namespace platform::detail {

template <class T>
void decode(JSONReader& reader, T& value);

template <class T>
void decodeSequence(JSONReader& reader, T& sequence) {
  using Element = typename T::value_type;
  sequence.clear();
  for (JSONReader::Array array(reader); array.next();) {
    if constexpr (std::is_default_constructible_v<Element> &&
                  requires { requires std::same_as<decltype(sequence.emplace_back()), Element&>; }) {
      // Most lists are short, and small elements are cheap to have room for.
      if constexpr (sizeof(Element) <= 64 && requires { sequence.reserve(4); }) {
        if (sequence.capacity() == 0) sequence.reserve(4);
      }
      decode(reader, sequence.emplace_back());
    } else {
      auto element = placeholder<Element>();
      decode(reader, element);
      sequence.push_back(std::move(element));
    }
  }
}

template <class T>
void decodeSet(JSONReader& reader, T& set) {
  set.clear();
  for (JSONReader::Array array(reader); array.next();) {
    auto element = placeholder<typename T::value_type>();
    decode(reader, element);
    set.insert(std::move(element));
  }
}

template <class T>
void decodePointer(JSONReader& reader, T& pointer) {
  using Value = OptionalValue<T>;
  auto value = std::make_unique<Value>(placeholder<Value>());
  decode(reader, *value);
  pointer = std::move(value);
}

template <class T>
void decodeArray(JSONReader& reader, T& elements) {
  std::size_t count = 0;
  for (JSONReader::Array array(reader); array.next(); ++count) {
    if (count < elements.size()) decode(reader, elements[count]);
  }
  JSONValueDecoder::requireCount(reader, elements.size(), count);
}

template <class T>
void decodeMap(JSONReader& reader, T& map) {
  using Value = typename T::mapped_type;
  map.clear();
  for (JSONReader::Object object(reader); object.next();) {
    std::string key(object.key());
    auto value = placeholder<Value>();
    decode(reader, value);
    map.insert_or_assign(std::move(key), std::move(value));
  }
}

}  // namespace platform::detail
