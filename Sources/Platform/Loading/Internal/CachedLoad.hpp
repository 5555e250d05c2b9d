#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Platform/Loading/Internal/Caching/CacheChoice.hpp"
#include "Platform/Loading/Internal/Caching/CachedResponse.hpp"

namespace platform::detail {

/// What the response of a load is for the cache.
enum class CacheRole : std::uint8_t {
  none,
  reads,       ///< it may confirm what is stored, or fail
  stores,      ///< beside that, it may be stored
  invalidates  ///< of a method that may change what is stored
};

/// What a load has in addition where the cache has a response for it. Loop side.
struct CachedLoad {
  std::shared_ptr<const CachedResponse> stored;
  // The validators that are sent; header fields refer to them.
  std::string entityTag;
  std::string lastModified;
  /// It was sent with them.
  bool isValidation = false;
  bool standsForErrors = false;
  /// The server confirmed another version.
  bool isContradicted = false;
  /// It is the response of the load.
  bool isServed = false;
  std::uint64_t servedBytes = 0;
};

}  // namespace platform::detail
