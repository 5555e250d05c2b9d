#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/JSONCodec.hpp"

namespace platform {

class JSONValue;
struct JSONMember;

/// The members of a JSON object, in order, with fast look-up by key.
class CORVANE_API JSONObject {
 public:
  /// Iterates over the members in order.
  using Iterator = std::list<JSONMember>::const_iterator;

  JSONObject();
  /// If several members have the same key, the last value counts, at the position of the first.
  JSONObject(std::initializer_list<JSONMember> members);
  JSONObject(const JSONObject& other);
  /// Leaves `other` empty.
  JSONObject(JSONObject&& other) noexcept;
  JSONObject& operator=(JSONObject other) noexcept;
  ~JSONObject();

  std::size_t size() const noexcept { return members_.size(); }
  bool isEmpty() const noexcept { return members_.empty(); }
  /// The value of a key; null without such a key. Valid until that member is removed.
  const JSONValue* find(std::string_view key) const;
  JSONValue* find(std::string_view key);
  /// The value of a key; adds the key with a null if it is absent. Valid until that member is removed.
  JSONValue& operator[](std::string_view key);
  /// Removes a key. Returns whether it existed.
  bool remove(std::string_view key);

  Iterator begin() const noexcept { return members_.begin(); }
  Iterator end() const noexcept { return members_.end(); }

  /// Equal keys with equal values, in any order.
  friend CORVANE_API bool operator==(const JSONObject& left, const JSONObject& right);

 private:
  struct Index;

  JSONMember* member(std::string_view key);

  std::list<JSONMember> members_;
  /// Null while there are few members, which are tried in turn.
  std::unique_ptr<Index> index_;
};

/// Any JSON value, for documents that have no model.
///
///     const auto document = JSONDecoder().decode<JSONValue>(data);
///     if (const auto* name = document["users"][0]["name"].string()) greet(*name);
///
///     const JSONValue order = JSONObject{{"id", 7}, {"tags", JSONValue::Array{"new", "paid"}}};
///
/// Numbers are kept as 64-bit integers if they are written as integers and fit, or else as doubles. A value type; safe
/// to read on several threads.
class CORVANE_API JSONValue {
 public:
  /// The elements of an array, in their order.
  using Array = std::vector<JSONValue>;

  /// Null.
  JSONValue() noexcept;
  JSONValue(const JSONValue& other);
  JSONValue(JSONValue&& other) noexcept;
  // A value may be assigned what is a part of it.
  JSONValue& operator=(const JSONValue& other);
  JSONValue& operator=(JSONValue&& other) noexcept;
  ~JSONValue();
  JSONValue(std::nullptr_t) noexcept;  // NOLINT(google-explicit-constructor): a JSON value is any of these
  template <std::same_as<bool> T>
  JSONValue(T value) noexcept {  // NOLINT(google-explicit-constructor)
    setBoolean(value);
  }
  template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char> && sizeof(T) <= sizeof(std::int64_t))
  JSONValue(T value) noexcept {  // NOLINT(google-explicit-constructor)
    if (std::in_range<std::int64_t>(value)) {
      setInteger(static_cast<std::int64_t>(value));
    } else {
      setUnsigned(static_cast<std::uint64_t>(value));
    }
  }
  JSONValue(double value) noexcept;        // NOLINT(google-explicit-constructor)
  JSONValue(const char* text);             // NOLINT(google-explicit-constructor)
  JSONValue(std::string_view text);        // NOLINT(google-explicit-constructor)
  JSONValue(std::string text) noexcept;    // NOLINT(google-explicit-constructor)
  JSONValue(Array elements) noexcept;      // NOLINT(google-explicit-constructor)
  JSONValue(JSONObject members) noexcept;  // NOLINT(google-explicit-constructor)

  /// The type of the value.
  JSONKind kind() const noexcept;
  /// Whether it is null.
  bool isNull() const noexcept;

  // Null or absent when the value is of another kind.

  /// Absent for anything but true and false.
  std::optional<bool> boolean() const noexcept;
  /// The integer; absent for a number that is not an integer, is out of range, or was written with a point.
  std::optional<std::int64_t> integer() const noexcept;
  /// The same for integers up to 2^64 - 1.
  std::optional<std::uint64_t> unsignedInteger() const noexcept;
  /// Any number, rounded if a double cannot represent it.
  std::optional<double> number() const noexcept;
  /// Null for anything but a string.
  const std::string* string() const noexcept;
  /// Null for anything but an array.
  const Array* array() const noexcept;
  Array* array() noexcept;
  /// Null for anything but an object.
  const JSONObject* object() const noexcept;
  JSONObject* object() noexcept;

  /// The member or the element; null if it does not exist, and for a value without members or elements.
  const JSONValue& operator[](std::string_view key) const;
  const JSONValue& operator[](const char* key) const { return (*this)[std::string_view(key)]; }
  const JSONValue& operator[](std::size_t index) const;
  template <std::same_as<int> T>
  const JSONValue& operator[](T index) const {
    return (*this)[static_cast<std::size_t>(index)];
  }

  /// Numbers are compared by value, whether they are kept as integers or doubles.
  friend CORVANE_API bool operator==(const JSONValue& left, const JSONValue& right);
  /// Writes the document without white space. Throws an `EncodingError` for what JSON cannot have: a number that is
  /// infinite or not a number.
  friend CORVANE_API std::ostream& operator<<(std::ostream& stream, const JSONValue& value);

 private:
  void setBoolean(bool value) noexcept;
  void setInteger(std::int64_t value) noexcept;
  void setUnsigned(std::uint64_t value) noexcept;

  // `std::uint64_t` holds only what `std::int64_t` cannot.
  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Array, JSONObject> value_;
};

/// A member of an object.
///
///     for (const auto& [name, value] : *document.object()) show(name, value);
struct JSONMember {
  /// Its name in the document.
  std::string key;
  /// What stands after it.
  JSONValue value;

  friend bool operator==(const JSONMember&, const JSONMember&) = default;
};

template <>
struct CORVANE_API JSONCodec<JSONValue> {
  static JSONValue decode(JSONReader& reader);
  static void encode(const JSONValue& value, JSONWriter& writer);
};

template <>
struct CORVANE_API JSONCodec<JSONObject> {
  static constexpr JSONKind kind = JSONKind::object;
  static JSONObject decode(JSONReader& reader);
  static void encode(const JSONObject& object, JSONWriter& writer);
};

}  // namespace platform
