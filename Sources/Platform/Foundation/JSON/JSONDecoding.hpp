#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Foundation/JSON/Detail/JSONDecodingContainers.hpp"
#include "Platform/Foundation/JSON/Detail/JSONDecodingModels.hpp"
#include "Platform/Foundation/JSON/Detail/JSONDecodingTypes.hpp"
#include "Platform/Foundation/JSON/Detail/JSONValueDecoder.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

/// How each C++ type is read.

namespace platform {

namespace detail {

template <class T>
void decodeName(JSONReader& reader, T& value) {
  const auto name = reader.decode<std::string>();
  for (const JSONName<T>& known : JSONCodec<T>::names) {
    if (known.name != name) continue;
    value = known.value;
    return;
  }
  reader.fail("\"" + name + "\" is no name of this enumeration");
}

template <Integer T>
void decodeInteger(JSONReader& reader, T& value) {
  using Bits = std::conditional_t<
      sizeof(T) == 1, std::int8_t,
      std::conditional_t<sizeof(T) == 2, std::int16_t, std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>>>;
  std::conditional_t<std::is_signed_v<T>, Bits, std::make_unsigned_t<Bits>> number;
  JSONValueDecoder::decode(reader, number);
  value = static_cast<T>(number);
}

template <class T>
void decode(JSONReader& reader, T& value) {
  if constexpr (DecodesItself<T>) {
    const std::size_t start = reader.position();
    value = JSONCodec<T>::decode(reader);
    if (reader.position() == start) reader.skip();
  } else if constexpr (std::same_as<T, bool> || std::floating_point<T> || std::same_as<T, std::string> ||
                       std::same_as<T, std::monostate>) {
    JSONValueDecoder::decode(reader, value);
  } else if constexpr (Integer<T>) {
    decodeInteger(reader, value);
  } else if constexpr (HasJSONNames<T>) {
    decodeName(reader, value);
  } else if constexpr (std::is_enum_v<T>) {
    std::underlying_type_t<T> number{};
    decode(reader, number);
    value = static_cast<T>(number);
  } else if constexpr (isOptional<T>) {
    if (reader.takeNull()) {
      value.reset();
    } else {
      decode(reader, value.emplace(placeholder<typename T::value_type>()));
    }
  } else if constexpr (isPointer<T>) {
    if (reader.takeNull()) {
      value.reset();
    } else {
      decodePointer(reader, value);
    }
  } else if constexpr (isVariant<T>) {
    decodeVariant(reader, value);
  } else if constexpr (isArray<T>) {
    decodeArray(reader, value);
  } else if constexpr (Sequence<T>) {
    decodeSequence(reader, value);
  } else if constexpr (Set<T>) {
    decodeSet(reader, value);
  } else if constexpr (TextMap<T>) {
    decodeMap(reader, value);
  } else if constexpr (SystemTime<T>) {
    using Duration = typename T::duration;
    const std::int64_t count = JSONValueDecoder::decodeTime(reader, Duration::period::num, Duration::period::den);
    if (!std::in_range<typename T::rep>(count)) reader.fail("the date is out of range");
    value = T(Duration(static_cast<typename T::rep>(count)));
  } else {
    static_assert(Model<T>, "JSON cannot be decoded into this type: give it a JSONCodec with `decode`");
    if constexpr (Model<T>) decodeModel(reader, value);
  }
}

}  // namespace detail

/// A type that JSON is decoded into: numbers, booleans, text, enumerations, optionals, sequences, sets, arrays,
/// maps from text, variants, pointers that own their value, dates, plain structs of these, and types with a
/// `JSONCodec`. The members of a struct are looked at when it is decoded.
///
///     static_assert(JSONReadable<std::vector<User>>);
template <class T>
concept JSONReadable = detail::canBeDecoded<T>();

template <class T>
T JSONReader::decode() {
  static_assert(JSONReadable<T>, "JSON cannot be decoded into this type: give it a JSONCodec with `decode`");
  if constexpr (JSONReadable<T>) {
    auto value = detail::placeholder<T>();
    detail::decode(*this, value);
    return value;
  } else {
    return detail::valueOfNoType<T>();
  }
}

template <class T>
std::optional<T> JSONReader::decodeIfValid() {
  const char* const start = scanner_.cursor();
  try {
    return decode<T>();
  } catch (const DecodingError&) {
    // The containers that were entered are left by now; only the text is to be gone back in.
    scanner_.moveTo(start);
  }
  skip();
  return std::nullopt;
}

}  // namespace platform
