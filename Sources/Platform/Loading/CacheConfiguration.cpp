#include "Platform/Loading/CacheConfiguration.hpp"

namespace platform {

std::string CacheConfiguration::problem() const {
  return capacityBytes < 0 ? "The capacity of the cache is negative." : "";
}

}  // namespace platform
