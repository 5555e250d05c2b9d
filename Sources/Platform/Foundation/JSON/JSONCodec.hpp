#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

namespace platform {

class JSONReader;
class JSONWriter;

/// The types of JSON values (RFC 8259, 3).
///
///     if (value.kind() == JSONKind::array) …
enum class JSONKind : std::uint8_t { object, array, string, number, boolean, null };

/// The key of a member, if it differs from the member's name.
struct JSONKey {
  /// The name of the member, as C++ spells it.
  std::string_view member;
  /// The key in the document.
  std::string_view key;
};

/// The name of an enumerator in a document.
template <class Enumeration>
struct JSONName {
  /// The enumerator.
  Enumeration value;
  /// Its name in a document.
  std::string_view name;
};

/// Specialise it for a type with another representation than the default, with some of these members:
///
///     template <>
///     struct corvane::JSONCodec<User> {  // other keys; what is not listed keeps its name
///       static constexpr JSONKey keys[] = {{"login", "user_login"}};
///     };
///     template <>
///     struct corvane::JSONCodec<Color> {  // an enumeration by name instead of by value
///       static constexpr JSONName<Color> names[] = {{Color::red, "red"}, {Color::green, "green"}};
///     };
///     template <>
///     struct corvane::JSONCodec<Money> {  // anything else; one of the two is enough to read or to write only
///       static Money decode(JSONReader& reader) { return Money::parse(reader.decode<std::string>()); }
///       static void encode(const Money& money, JSONWriter& writer) { writer.encode(money.text()); }
///     };
///
/// An exception from `decode` or `encode` ends the whole decoding or encoding, unchanged; `JSONReader::fail` throws a
/// `DecodingError` with the path. A type without a default constructor adds `static T placeholder()`; its value is
/// overwritten. An alternative of a `std::variant` that is read from a single JSON type declares it: `static constexpr
/// JSONKind kind = JSONKind::string;`
template <class T>
struct JSONCodec {};

namespace detail {

template <class T>
concept DecodesItself = requires(JSONReader& reader) {
  { JSONCodec<T>::decode(reader) } -> std::same_as<T>;
};
template <class T>
concept EncodesItself = requires(const T& value, JSONWriter& writer) { JSONCodec<T>::encode(value, writer); };
template <class T>
concept HasJSONKeys = requires { JSONCodec<T>::keys; };
template <class T>
concept HasJSONNames = requires { JSONCodec<T>::names; };
template <class T>
concept HasPlaceholder = requires { JSONCodec<T>::placeholder(); };

}  // namespace detail
}  // namespace platform
