#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "CacheTest.hpp"

namespace platform {

/// What becomes of a second request.
enum class Then {
  sent,       ///< it goes to the server as it is
  validated,  ///< it goes to the server with the validators of the first response
  stored,     ///< it gets the first response, and nothing is sent
  failed      ///< it fails with -2000, and nothing is sent
};

/// A request, its response, and the same request once more, some seconds later.
struct CacheBehaviour {
  std::string name;
  CacheFields response;
  std::int64_t secondsLater = 0;
  Then then = Then::sent;
  CacheFields secondRequest = {};
  URLRequestCachePolicy secondPolicy = URLRequestCachePolicy::useProtocolCachePolicy;
  int status = 200;
  CacheFields firstRequest = {};
  URLRequestCachePolicy firstPolicy = URLRequestCachePolicy::useProtocolCachePolicy;
  std::string secondMethod = "GET";
  /// Set after the first response.
  std::int64_t wallSetBy = 0;
  bool isRepetition = false;
};
inline void PrintTo(const CacheBehaviour& behaviour, std::ostream* out) { *out << behaviour.name; }

class HTTPCacheBehaviourTest : public HTTPCacheTest, public ::testing::WithParamInterface<CacheBehaviour> {};

}  // namespace platform
