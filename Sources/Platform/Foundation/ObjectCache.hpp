#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// Bytes kept in memory under a text for as long as there is room: a cache, so anything may be gone at any time.
///
/// When the total cost would exceed the limit, the entries that were not asked for the longest go first.
/// Its owner empties it when memory is short. Thread-safe.
class CORVANE_API ObjectCache {
 public:
  /// What an entry costs beside its key and its bytes, so that many small ones are bounded too.
  static constexpr std::size_t entryCost = 128;

  /// `totalCostLimit` is in bytes.
  explicit ObjectCache(std::size_t totalCostLimit);
  ~ObjectCache();
  ObjectCache(const ObjectCache&) = delete;
  ObjectCache& operator=(const ObjectCache&) = delete;

  /// Absent when there is none, or none any more.
  std::optional<Data> object(std::string_view key);
  /// Replaces what is there. Bytes that alone cost more than the limit are not kept.
  void setObject(Data data, std::string key);
  /// Does nothing when there is none.
  void removeObject(std::string_view key);
  /// Empties the cache.
  void removeAll();

  /// How many entries there are.
  std::size_t count() const;
  /// In bytes; never above the limit.
  std::size_t totalCost() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace platform
