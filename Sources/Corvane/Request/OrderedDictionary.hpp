#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/Foundation/AnyValue.hpp"
#include "Platform/Trap.hpp"

namespace corvane {

/// A map that keeps the order in which its keys were first added. For a few entries, such as the query items of a
/// request: every look-up visits the entries from the front.
///
///     OrderedDictionary<std::string> query{{"sort", "name"}, {"page", 2}};
///     query["page"] = 3;               // keeps its place
///     query["sort"] = std::nullopt;    // removes it
///     if (const auto* page = query.find("page")) …
///
/// Setting a value never adds a second entry for a key. But a literal is stored as written: if it repeats a key,
/// look-ups find the first entry.
template <std::equality_comparable Key, class Value = platform::AnyValue>
class OrderedDictionary {
 public:
  /// A key and its value.
  using Element = std::pair<Key, Value>;
  /// A position, counted from 0.
  using Index = std::ptrdiff_t;
  using const_iterator = typename std::vector<Element>::const_iterator;
  using value_type = Element;
  class Entry;

  OrderedDictionary() = default;
  /// The entries as given, repeated keys included.
  OrderedDictionary(std::initializer_list<Element> literal) : items_(literal) {}
  // Chosen for one pair without braces of its own; does not compile.
  template <std::size_t size, std::convertible_to<Value> One>
    requires std::convertible_to<const char*, Key>
  OrderedDictionary(const char (&)[size], const One&) {
    static_assert(size == 0, "Each key and its value have braces of their own: write `{{\"page\", 2}}`");
  }

  /// The value of a key; null without such a key. The pointer is valid until the dictionary is changed.
  const Value* find(const Key& key) const {
    for (const auto& item : items_)
      if (item.first == key) return &item.second;
    return nullptr;
  }
  Value* find(const Key& key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

  /// The value for reading, null when absent.
  const Value* operator[](const Key& key) const { return find(key); }
  /// The place of a key for reading (`if (query["a"]) use(*query["a"]);`), changing (`*query["a"] = 1`) and
  /// setting (`query["a"] = 1`, `query["a"] = std::nullopt`). To be used at once, not kept.
  Entry operator[](Key key) { return Entry(*this, std::move(key)); }

  /// Replaces the value of a present key in place and adds an absent key at the end; an absent value removes
  /// the key's first entry, if there is one.
  void set(Key key, std::optional<Value> value) {
    auto* present = find(key);
    if (present && value) {
      *present = std::move(*value);
    } else if (value) {
      items_.emplace_back(std::move(key), std::move(*value));
    } else if (present) {
      removeFirst(key);
    }
  }

  /// The entry at a position; traps outside 0 ..< count.
  const Element& at(Index position) const {
    if (position < 0 || position >= endIndex()) platform::trap("OrderedDictionary: position out of range");
    return items_[static_cast<std::size_t>(position)];
  }
  /// The position of the first entry: 0.
  Index startIndex() const { return 0; }
  /// The position after the last entry.
  Index endIndex() const { return static_cast<Index>(items_.size()); }
  /// The position after another one.
  Index indexAfter(Index position) const { return position + 1; }

  /// The number of entries.
  std::size_t count() const { return items_.size(); }
  std::size_t size() const { return items_.size(); }
  bool isEmpty() const { return items_.empty(); }
  /// Null when empty.
  const Element* first() const { return items_.empty() ? nullptr : &items_.front(); }
  const_iterator begin() const { return items_.begin(); }
  const_iterator end() const { return items_.end(); }

 private:
  void removeFirst(const Key& key) {
    auto item = items_.begin();
    while (!(item->first == key)) ++item;
    items_.erase(item);
  }

  std::vector<Element> items_;
};

/// A reference to a key in a dictionary that can be changed: the result of `dictionary[key]`. Use it at once, do not
/// store it.
template <std::equality_comparable Key, class Value>
class OrderedDictionary<Key, Value>::Entry {
 public:
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

  /// Sets the value; see `set`.
  void operator=(Value value) && { owner_.set(std::move(key_), std::move(value)); }
  /// Removes the key, if it is there.
  void operator=(std::nullopt_t) && { owner_.set(std::move(key_), std::nullopt); }

  /// Whether the key is there.
  explicit operator bool() const { return owner_.find(key_) != nullptr; }
  /// Traps when the key is absent.
  Value& operator*() const {
    auto* value = owner_.find(key_);
    if (!value) platform::trap("OrderedDictionary: no value for this key");
    return *value;
  }
  /// The same for a member of the value.
  Value* operator->() const { return &**this; }

 private:
  friend class OrderedDictionary;
  Entry(OrderedDictionary& owner, Key key) : owner_(owner), key_(std::move(key)) {}

  OrderedDictionary& owner_;
  Key key_;
};

}  // namespace corvane
