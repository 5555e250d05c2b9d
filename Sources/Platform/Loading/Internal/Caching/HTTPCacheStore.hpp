#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Platform/Loading/Internal/Caching/CachedResponse.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// What responses are stored under: the URL without its user and its fragment, with its port, and the "Host" of the
/// request, where that is not the one of the URL (RFC 9110, 7.1).
std::string cacheKey(const networking::Origin& origin, std::string_view target, std::string_view ownHost = {});

/// Stored responses, bounded in bytes; the least recently used ones make room. For one thread.
class HTTPCacheStore {
 public:
  using Response = std::shared_ptr<const CachedResponse>;
  /// One response takes at most this part of the capacity.
  static constexpr std::size_t shareOfOne = 4;
  /// At most so many for one URL, since they are searched one by one.
  static constexpr std::size_t variantLimit = 16;

  explicit HTTPCacheStore(std::size_t capacity) : capacity_(capacity) {}

  /// The most recently stored one that was made for such a request; null: none.
  Response find(const std::string& key, RequestFields request);
  /// In the place of what there is for such a request. One that is too long is not stored, but supersedes that.
  void put(const std::string& key, Response response, RequestFields request);
  /// Puts `after` in the place of `before`, if that is still there.
  void replace(const std::string& key, const Response& before, Response after);
  /// Removes what there is for such a request, and lets nothing be stored that was asked for before.
  void supersede(const std::string& key, RequestFields request) {
    lastInvalidation_[bucketOf(key)] = ++invalidations_;
    remove(key, request);
  }
  /// Whether there is one for such a request that was asked for later than at `requested`.
  bool hasNewer(const std::string& key, RequestFields request, networking::TimePoint requested) const;

  /// A request that may have changed the URL succeeded: all responses of it go (RFC 9111, 4.4).
  void invalidate(const std::string& key) {
    lastInvalidation_[bucketOf(key)] = ++invalidations_;
    removeAll(key);
  }
  /// How often that happened, or `supersede`, whatever the URL.
  std::uint64_t invalidations() const { return invalidations_; }
  /// Whether it, or `supersede`, happened to the URL when `invalidations` was greater than `before`; rarely also where
  /// it happened to another one. What was asked for before may have been made before, too, and is not to be stored.
  bool wasInvalidated(const std::string& key, std::uint64_t before) const {
    return lastInvalidation_[bucketOf(key)] > before;
  }

  bool isEmpty() const { return entries_.empty(); }
  std::size_t count() const { return entries_.size(); }
  /// The memory that they take.
  std::size_t bytes() const { return bytes_; }
  std::size_t longest() const { return capacity_ / shareOfOne; }

 private:
  struct Entry {
    const std::string* key;  ///< in `index_`
    Response response;
    std::size_t bytes;
  };
  using Entries = std::list<Entry>;
  /// In the order in which they were stored.
  using Variants = std::list<Entries::iterator>;
  using Index = std::unordered_map<std::string, Variants>;

  void remove(const std::string& key, RequestFields request);
  void removeAll(const std::string& key);
  void erase(Index::iterator found, Variants::iterator variant);
  void makeRoom();
  static std::size_t bytesOf(const std::string& key, const Response& response);
  static constexpr std::size_t buckets = 256;
  static std::size_t bucketOf(const std::string& key) { return std::hash<std::string>()(key) % buckets; }

  const std::size_t capacity_;
  std::size_t bytes_ = 0;
  std::uint64_t invalidations_ = 0;
  /// By the hash of the URL.
  std::array<std::uint64_t, buckets> lastInvalidation_{};
  Entries entries_;  ///< the most recently used one first
  Index index_;
};

}  // namespace platform::detail
