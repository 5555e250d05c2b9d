#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
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

/// The members of a JSON object, in their order, found by key at once.
class CORVANE_API JSONObject {
 public:
  /// Goes through the members in their order.
  using Iterator = std::list<JSONMember>::const_iterator;

  JSONObject();
  /// Of several members with the same key the last one counts, at the place of the first.
  JSONObject(std::initializer_list<JSONMember> members);
  JSONObject(const JSONObject& other);
  /// Leaves `other` empty.
  JSONObject(JSONObject&& other) noexcept;
  JSONObject& operator=(JSONObject other) noexcept;
  ~JSONObject();

  std::size_t size() const noexcept { return members_.size(); }
  bool isEmpty() const noexcept { return members_.empty(); }
  /// Null where there is no such key; valid until that member is removed.
  const JSONValue* find(std::string_view key) const;
  JSONValue* find(std::string_view key);
  /// The member's value; adds a null where there is no such key. Valid until that member is removed.
  JSONValue& operator[](std::string_view key);
  /// Whether there was such a key.
  bool remove(std::string_view key);

  Iterator begin() const noexcept { return members_.begin(); }
  Iterator end() const noexcept { return members_.end(); }

  /// The same keys with the same values, in whatever order.
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
/// Numbers are kept as 64-bit integers where they are written as such and fit, else as doubles. A value type;
/// safe to read on several threads.
class CORVANE_API JSONValue {
 public:
  /// The elements of an array, in their order.
  using Array = std::vector<JSONValue>;

  /// Null.
  JSONValue() noexcept = default;
  JSONValue(const JSONValue& other);
  JSONValue(JSONValue&& other) noexcept;
  // A value may be assigned what is a part of it.
  JSONValue& operator=(const JSONValue& other);
  JSONValue& operator=(JSONValue&& other) noexcept;
  ~JSONValue();
  JSONValue(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): a JSON value is any of these
  template <std::same_as<bool> T>
  JSONValue(T value) noexcept : value_(value) {}  // NOLINT(google-explicit-constructor)
  template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char> && sizeof(T) <= sizeof(std::int64_t))
  JSONValue(T value) noexcept {  // NOLINT(google-explicit-constructor)
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<std::uint64_t>(value);
    }
  }
  JSONValue(double value) noexcept : value_(value) {}                // NOLINT(google-explicit-constructor)
  JSONValue(const char* text) : value_(std::string(text)) {}         // NOLINT(google-explicit-constructor)
  JSONValue(std::string_view text) : value_(std::string(text)) {}    // NOLINT(google-explicit-constructor)
  JSONValue(std::string text) noexcept : value_(std::move(text)) {}  // NOLINT(google-explicit-constructor)
  JSONValue(Array elements) noexcept;                                // NOLINT(google-explicit-constructor)
  JSONValue(JSONObject members) noexcept;                            // NOLINT(google-explicit-constructor)

  /// What kind of value it is.
  JSONKind kind() const noexcept;
  /// Whether it is null.
  bool isNull() const noexcept { return std::holds_alternative<std::monostate>(value_); }

  // Null or absent when the value is of another kind.

  /// Absent for anything but true and false.
  std::optional<bool> boolean() const noexcept;
  /// Absent for a number that is no integer or out of range, and for one that was written with a point.
  std::optional<std::int64_t> integer() const noexcept;
  /// The same for integers up to 2^64 - 1.
  std::optional<std::uint64_t> unsignedInteger() const noexcept;
  /// Any number, rounded where a double cannot hold it.
  std::optional<double> number() const noexcept;
  /// Null for anything but a string.
  const std::string* string() const noexcept { return std::get_if<std::string>(&value_); }
  /// Null for anything but an array.
  const Array* array() const noexcept { return std::get_if<Array>(&value_); }
  Array* array() noexcept { return std::get_if<Array>(&value_); }
  /// Null for anything but an object.
  const JSONObject* object() const noexcept { return std::get_if<JSONObject>(&value_); }
  JSONObject* object() noexcept { return std::get_if<JSONObject>(&value_); }

  /// The member or the element; null where there is none, and in a value that has no members or elements.
  const JSONValue& operator[](std::string_view key) const;
  const JSONValue& operator[](const char* key) const { return (*this)[std::string_view(key)]; }
  const JSONValue& operator[](std::size_t index) const;
  template <std::same_as<int> T>
  const JSONValue& operator[](T index) const {
    return (*this)[static_cast<std::size_t>(index)];
  }

  /// Numbers compare by value, however they are kept.
  friend CORVANE_API bool operator==(const JSONValue& left, const JSONValue& right);

 private:
  // `std::uint64_t` holds only what `std::int64_t` cannot.
  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Array, JSONObject> value_;
};

/// A member of an object.
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
