#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/JSON/JSONStrategies.hpp"

namespace platform {
class JSONWriter;
}

namespace platform::detail {

/// How values of one C++ type are written. Made once for each type, by the compiler.
struct JSONEncoding {
  /// Writes the value.
  void (*encode)(JSONWriter& writer, const void* value) = nullptr;
  /// Whether the value's key is left out; null for types that are never absent.
  bool (*isAbsent)(const void* value) = nullptr;
};

/// What a model looks like to a writer: its keys in the order of declaration.
class CORVANE_API EncodingFieldTable {
 public:
  /// As the model declares it. A key without text, not even an empty one, follows from the name, by the strategy.
  struct Member {
    /// As C++ spells it.
    std::string_view name;
    /// As `JSONCodec` names it, else empty.
    std::string_view key;
    /// How its values are written.
    const JSONEncoding* type;
  };
  /// A key under one strategy, ready to be written.
  struct Key {
    /// A comma, the key in quotes, and a colon.
    std::string text;
    /// How values of the member are written.
    const JSONEncoding* type;

    /// The key as it is.
    std::string_view name() const { return {text.data() + 2, text.size() - 4}; }
  };

  /// Requires: names and types that live for ever.
  explicit EncodingFieldTable(std::span<const Member> members);

  /// Traps when two keys are alike under this strategy.
  std::span<const Key> keys(JSONKeyStrategy strategy) const {
    const Keys& keys = keys_[static_cast<std::size_t>(strategy)];
    if (keys.areAlike) trapForKeysThatAreAlike();
    return keys.all;
  }

 private:
  struct Keys {
    Keys(std::span<const Member> members, JSONKeyStrategy strategy);

    std::vector<Key> all;
    bool areAlike = false;
  };

  [[noreturn]] static void trapForKeysThatAreAlike();

  std::array<Keys, 2> keys_;
};

}  // namespace platform::detail
