#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// A cache of bytes in memory, by text key. An entry may disappear at any time.
///
/// When the total cost would exceed the limit, the least recently used entries are removed. The owner of the cache
/// empties it when memory is short. Thread-safe.
class CORVANE_API ObjectCache {
 public:
  /// The cost of an entry in addition to its key and its bytes, so that the number of small entries is limited, too.
  static constexpr std::size_t entryCost = 128;

  /// `totalCostLimit` is in bytes.
  explicit ObjectCache(std::size_t totalCostLimit);
  ~ObjectCache();
  ObjectCache(const ObjectCache&) = delete;
  ObjectCache& operator=(const ObjectCache&) = delete;

  /// The bytes of a key; absent if there is no entry, or it has been removed.
  std::optional<Data> object(std::string_view key);
  /// Sets or replaces an entry. An entry that costs more than the limit by itself is not kept.
  void setObject(Data data, std::string key);
  /// Removes an entry, if it exists.
  void removeObject(std::string_view key);
  /// Empties the cache.
  void removeAll();

  /// The number of entries.
  std::size_t count() const;
  /// In bytes; never above the limit.
  std::size_t totalCost() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace platform
