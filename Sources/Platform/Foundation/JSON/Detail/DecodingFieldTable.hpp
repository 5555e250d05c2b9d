#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {
class JSONReader;
}

namespace platform::detail {

class DecodingFieldTable;

inline std::uint64_t wordAt(const char* place) {
  std::uint64_t word;
  std::memcpy(&word, place, sizeof word);
  return word;
}

/// How values of one C++ type are read. Made once for each type, by the compiler.
struct JSONDecoding {
  /// Overwrites the value with what comes next.
  void (*decode)(JSONReader& reader, void* value) = nullptr;
  /// Makes the value absent, for types whose key may be missing; null for all others.
  void (*makeAbsent)(void* value) = nullptr;
  /// The kinds of JSON values that the type is read from, a bit for each `JSONKind`.
  std::uint8_t kinds = 0x3F;
  /// Its keys, for types that are read from an object by their keys; null for all others.
  const DecodingFieldTable& (*fieldTable)() = nullptr;
};

/// What a model looks like to a reader: its keys in the order of declaration, and how to find one quickly.
class CORVANE_API DecodingFieldTable {
 public:
  /// How many members a model may have.
  static constexpr std::size_t mostMembers = 64;

  /// As the model declares it. A key without text, not even an empty one, follows from the name, by the strategy.
  struct Member {
    /// As C++ spells it.
    std::string_view name;
    /// As `JSONCodec` names it, else empty.
    std::string_view key;
    /// How its values are read.
    const JSONDecoding* type;
  };
  /// A key under one strategy, with what it takes to find it fast.
  struct Key {
    /// The key with its quotes and its colon, as writers write it that leave out what may be left out; with a
    /// space in front, which no key starts with, where it cannot be written without escapes.
    std::string text;
    /// How values of the member are read.
    const JSONDecoding* type;
    /// That of the type.
    void (*decode)(JSONReader& reader, void* value);

    /// Requires: a type that lives for ever.
    Key(std::string_view name, const JSONDecoding* typeOfMember);
    /// The key as it is.
    std::string_view name() const { return {text.data() + 1, text.size() - 3}; }
    /// Whether the text stands there. Reads up to `Data::padding` characters, whether there are so many or not.
    bool matchesAt(const char* cursor, const char* end) const;

   private:
    static constexpr std::size_t wordSize = sizeof(std::uint64_t);

    /// The first and the last characters of the text, or those that are within the padding of a document. They are
    /// one word where the text is shorter than that, of which the mask says how much counts.
    std::uint64_t head_, tail_, mask_;
    std::size_t tailOffset_;
  };

  /// Requires: at most `mostMembers`, with names and types that live for ever.
  explicit DecodingFieldTable(std::span<const Member> members);

  /// The keys under a strategy, and the way to them.
  class CORVANE_API KeyIndex {
   public:
    /// In place of an index: there is no such key.
    static constexpr std::size_t none = SIZE_MAX;

    /// Requires: members with names and types that live for ever.
    KeyIndex(std::span<const Member> members, JSONKeyStrategy strategy);

    /// In the order of declaration.
    std::span<const Key> keys() const { return keys_; }
    /// Whether two keys are the same under this strategy; then the table is of no use.
    bool areKeysAlike() const { return areKeysAlike_; }
    /// The index of the member with that key, or none.
    std::size_t find(std::string_view key) const;
    /// The member whose key stands there, in its plainest form, or none; not every such key is found. Reads up to
    /// `Data::padding` characters, whether there are so many or not. Requires: there are keys.
    std::size_t findAt(const char* cursor, const char* end) const {
      const std::uint64_t slot = ((wordAt(cursor + offset_) & mask_) * factor_) >> (64 - slotBits);
      const std::size_t index = slots_[static_cast<std::size_t>(slot)];
      return keys_[index].matchesAt(cursor, end) ? index : none;
    }
    /// A bit for each member whose key must not be missing.
    std::uint64_t required() const { return required_; }

   private:
    static constexpr unsigned slotBits = 8;
    static constexpr std::size_t mostOffset = 32;

    bool tellApart(std::size_t offset, std::size_t length);
    bool fillSlots();

    std::vector<Key> keys_;
    std::uint64_t required_ = 0;
    bool areKeysAlike_ = false;
    // Some characters of the keys that tell them apart, as a word, and what spreads these over the slots. To find the
    // end of a key first would take longer than all the rest.
    std::size_t offset_ = 0;
    std::uint64_t mask_ = 0;
    std::uint64_t factor_ = 0;
    std::array<std::uint8_t, std::size_t{1} << slotBits> slots_{};
  };

  /// Traps when two keys are alike under this strategy.
  const KeyIndex& keyIndex(JSONKeyStrategy strategy) const {
    const KeyIndex& keyIndex = keyIndexes_[static_cast<std::size_t>(strategy)];
    if (keyIndex.areKeysAlike()) trapForKeysThatAreAlike();
    return keyIndex;
  }
  /// Ends the process: a model whose keys cannot be told apart is a mistake in the program.
  [[noreturn]] static void trapForKeysThatAreAlike();

 private:
  std::array<KeyIndex, 2> keyIndexes_;
};

inline bool DecodingFieldTable::Key::matchesAt(const char* cursor, const char* end) const {
  // Both words are compared at once: which key comes next is hard to predict, and so is how long it is.
  const std::uint64_t difference =
      ((wordAt(cursor) ^ head_) & mask_) | ((wordAt(cursor + tailOffset_) ^ tail_) & mask_);
  const std::size_t size = text.size();
  if (difference != 0 || static_cast<std::size_t>(end - cursor) < size) return false;
  return size <= 2 * wordSize || std::memcmp(cursor, text.data(), size) == 0;
}

}  // namespace platform::detail
