#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"

namespace platform {

/// A map from text to any printable value that keeps the order in which keys were first added. Keys are unique and
/// compared byte by byte; if a literal repeats a key, the last value wins.
class CORVANE_API Dictionary {
 public:
  /// A key and its value.
  using Entry = std::pair<std::string, AnyValue>;

  Dictionary() = default;
  /// Adds each entry with `set`.
  Dictionary(std::initializer_list<Entry> entries);
  // Chosen for one pair without braces of its own; does not compile.
  template <std::size_t size, std::convertible_to<AnyValue> Value>
  Dictionary(const char (&)[size], const Value&) {
    static_assert(size == 0, "Each name and its value have braces of their own: write `{{\"X-App\", \"1\"}}`");
  }

  /// The value of a key; null without such a key.
  const AnyValue* find(std::string_view key) const;
  /// Whether there is such a key.
  bool contains(std::string_view key) const { return find(key) != nullptr; }
  /// Sets the value of a key; an existing key keeps its position.
  void set(std::string key, AnyValue value);
  /// The value of a key. Adds the key with a null value if it is absent.
  AnyValue& operator[](std::string_view key);
  /// Removes a key. Returns whether it existed.
  bool remove(std::string_view key);
  /// Sets every entry of `other`; its values replace those of equal keys.
  void merge(const Dictionary& other);

  /// The number of keys.
  std::size_t count() const { return entries_.size(); }
  std::size_t size() const { return entries_.size(); }
  bool isEmpty() const { return entries_.empty(); }
  std::vector<Entry>::const_iterator begin() const { return entries_.begin(); }
  std::vector<Entry>::const_iterator end() const { return entries_.end(); }

  /// Equal keys with equal values, in any order.
  friend CORVANE_API bool operator==(const Dictionary& left, const Dictionary& right);

 private:
  std::vector<Entry> entries_;
};

}  // namespace platform
