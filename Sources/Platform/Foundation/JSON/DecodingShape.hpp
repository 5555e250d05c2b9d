#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {

class DecodingShape;
class JSONReader;

/// How values of one C++ type are read. Made once for each type, by the compiler.
struct JSONDecoding {
  /// Overwrites the value with what comes next.
  void (*decode)(JSONReader& reader, void* value) = nullptr;
  /// Makes the value absent, for types whose key may be missing; null for all others.
  void (*makeAbsent)(void* value) = nullptr;
  /// The kinds of JSON values that the type is read from, a bit for each `JSONKind`.
  std::uint8_t kinds = 0x3F;
  /// Its keys, for types that are read from an object by their keys; null for all others.
  const DecodingShape& (*shape)() = nullptr;
};

/// What a model looks like to a reader: its keys in the order of declaration, and how to find one quickly.
class CORVANE_API DecodingShape {
 public:
  static constexpr std::size_t mostMembers = 64;

  /// As the model declares it. A key that is empty follows from the name, by the strategy.
  struct Member {
    std::string_view name;
    std::string_view key;
    const JSONDecoding* type;
  };
  struct Key {
    /// The key with its quotes and its colon, as writers write it that leave out what may be left out; with a
    /// blank in front, which no key starts with, where it cannot be written without escapes.
    std::string text;
    const JSONDecoding* type;

    std::string_view name() const { return {text.data() + 1, text.size() - 3}; }
  };

  /// Requires: at most `mostMembers`, with names and types that live for ever.
  explicit DecodingShape(std::span<const Member> members);

  /// The keys under a strategy, and the way to them.
  class CORVANE_API Table {
   public:
    static constexpr std::size_t none = SIZE_MAX;

    Table(std::span<const Member> members, JSONKeyStrategy strategy);

    std::span<const Key> keys() const { return keys_; }
    bool areKeysAlike() const { return areKeysAlike_; }
    std::size_t find(std::string_view key) const {
      const std::size_t candidate = slots_[slotOf(key)];
      if (candidate < keys_.size() && keys_[candidate].name() == key) return candidate;
      return areSlotsExact_ ? none : findOneByOne(key);
    }
    /// A bit for each member whose key must not be missing.
    std::uint64_t required() const { return required_; }

   private:
    static constexpr std::size_t slotCount = 256;

    std::size_t slotOf(std::string_view key) const;
    std::size_t findOneByOne(std::string_view key) const;
    bool fillSlots();

    std::vector<Key> keys_;
    std::uint64_t required_ = 0;
    bool areKeysAlike_ = false;
    std::uint32_t factor_ = 0;
    /// Whether each key has a slot of its own.
    bool areSlotsExact_ = false;
    std::array<std::uint8_t, slotCount> slots_{};
  };

  /// Traps when two keys are alike under this strategy.
  const Table& table(JSONKeyStrategy strategy) const {
    const Table& table = tables_[static_cast<std::size_t>(strategy)];
    if (table.areKeysAlike()) trapForKeysThatAreAlike();
    return table;
  }
  [[noreturn]] static void trapForKeysThatAreAlike();

 private:
  std::array<Table, 2> tables_;
};

/// The key that a strategy gives to a member.
CORVANE_API std::string jsonKey(std::string_view memberName, JSONKeyStrategy strategy);

}  // namespace platform
