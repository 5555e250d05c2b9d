#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Loading/Internal/Caching/CacheTime.hpp"
#include "SessionTest.hpp"

namespace platform {

using CacheFields = std::vector<std::pair<std::string, std::string>>;

/// A session on a clock that is set by hand.
class HTTPCacheTest : public SessionTest {
 protected:
  using MockResponse = corvane::testkit::MockResponse;
  using Policy = URLRequestCachePolicy;
  using Fields = CacheFields;

  static URLRequest with(URLRequest request, const Fields& fields, Policy policy = Policy::useProtocolCachePolicy) {
    for (const auto& [name, value] : fields) request.allHTTPHeaderFields.add(name, value);
    request.cachePolicy = policy;
    return request;
  }
  URLRequest get(const Fields& fields = {}, Policy policy = Policy::useProtocolCachePolicy) const {
    return with(request(server.url("/"), "GET"), fields, policy);
  }
  static MockResponse response(int status, const Fields& fields, std::string body) {
    MockResponse made(status);
    for (const auto& [name, value] : fields) made.header(name, value);
    made.body(std::move(body));
    return made;
  }
  Loaded loadStored(const Fields& fields = {}) { return load(get(fields, Policy::returnCacheDataDontLoad)); }
  /// Loads it for the first time.
  void store(const Fields& fields) {
    server.enqueue(response(200, fields, "first"));
    ASSERT_EQ(load(get()).body(), "first");
  }
  void useCache(CacheConfiguration configuration) {
    URLSessionConfiguration made;
    made.cache = configuration;
    made.httpMaximumConnectionsPerHost = 1;
    session = makeSession(std::move(made));
  }

  /// Sun, 06 Nov 1994 08:49:37 GMT.
  static constexpr std::int64_t start = 784111777;
  static constexpr const char* startDate = "Sun, 06 Nov 1994 08:49:37 GMT";
  static constexpr const char* tenHoursBefore = "Sat, 05 Nov 1994 22:49:37 GMT";
  static constexpr const char* hourLater = "Sun, 06 Nov 1994 09:49:37 GMT";

  detail::ManualCacheTime clock{start};
};

}  // namespace platform
