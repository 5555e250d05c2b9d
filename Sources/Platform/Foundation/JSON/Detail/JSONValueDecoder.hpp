#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/Detail/DecodingFieldTable.hpp"
#include "Platform/Foundation/JSON/JSONReader.hpp"

namespace platform::detail {

struct JSONNumber;

/// What is compiled once of reading values into C++ types; the templates of `JSONDecoding.hpp` come down to this. Each
/// function reads the value that comes next, or throws `DecodingError`.
struct JSONValueDecoder {
  CORVANE_API static void decode(JSONReader& reader, bool& value);
  /// A whole number, with a point or an exponent, too, that is within range.
  CORVANE_API static void decode(JSONReader& reader, std::int8_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::int16_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::int32_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::int64_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::uint8_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::uint16_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::uint32_t& value);
  CORVANE_API static void decode(JSONReader& reader, std::uint64_t& value);
  /// A number, rounded where the type cannot hold it.
  CORVANE_API static void decode(JSONReader& reader, float& value);
  CORVANE_API static void decode(JSONReader& reader, double& value);
  CORVANE_API static void decode(JSONReader& reader, long double& value);
  /// A string, its escapes resolved.
  CORVANE_API static void decode(JSONReader& reader, std::string& value);
  /// Null.
  CORVANE_API static void decode(JSONReader& reader, std::monostate& value);
  /// The same for a table of functions.
  template <class T>
  static void decodeErased(JSONReader& reader, void* value) {
    decode(reader, *static_cast<T*>(value));
  }

  /// An integer where the number is written as one and fits, preferably a signed one; else a real.
  static std::variant<std::int64_t, std::uint64_t, double> decodeNumber(JSONReader& reader);
  /// A date by the strategy, as a count of ticks of `numerator / denominator` seconds since 1970.
  CORVANE_API static std::int64_t decodeTime(JSONReader& reader, std::int64_t numerator, std::int64_t denominator);
  /// An object into the members whose addresses these are, in the order of the field table.
  CORVANE_API static void decodeFields(JSONReader& reader, const DecodingFieldTable& fieldTable, void* const* fields);
  /// The value with the first of the alternatives that takes it: `emplace(variant, i)` makes alternative number i and
  /// returns its address.
  CORVANE_API static void decodeVariant(JSONReader& reader, const JSONDecoding* const* alternatives, std::size_t count,
                                        void* variant, void* (*emplace)(void* variant, std::size_t index));
  /// Refuses an array of the wrong length, which was just read.
  CORVANE_API static void requireCount(const JSONReader& reader, std::size_t expected, std::size_t found);

 private:
  using Container = JSONReader::Container;

  static JSONNumber scan(JSONReader& reader, const char* expected);
  template <class Integer>
  static void decodeInteger(JSONReader& reader, Integer& value);
  static std::uint64_t decodeUnusualInteger(JSONReader& reader, std::uint64_t limit, std::size_t bits, bool isSigned);
  template <class Real>
  static void convert(JSONReader& reader, const JSONNumber& number, Real& value);
  template <class Real>
  static void decodeReal(JSONReader& reader, Real& value);
  static std::size_t goToMember(JSONReader& reader, Container& object, const DecodingFieldTable::KeyIndex& keyIndex);
  static std::size_t chooseByKeys(JSONReader& reader, const JSONDecoding* const* alternatives,
                                  const std::vector<std::size_t>& candidates);
};

/// Whether `decodeErased` is compiled in the library: for what most members are.
template <class T>
inline constexpr bool isDecodedInLibrary =
    std::same_as<T, bool> || std::same_as<T, std::int32_t> || std::same_as<T, std::int64_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::uint64_t> || std::same_as<T, double> ||
    std::same_as<T, std::string>;

extern template CORVANE_API void JSONValueDecoder::decodeErased<bool>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<std::int32_t>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<std::int64_t>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<std::uint32_t>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<std::uint64_t>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<double>(JSONReader&, void*);
extern template CORVANE_API void JSONValueDecoder::decodeErased<std::string>(JSONReader&, void*);

}  // namespace platform::detail
