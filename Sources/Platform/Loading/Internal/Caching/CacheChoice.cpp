#include "Platform/Loading/Internal/Caching/CacheChoice.hpp"

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

bool isCondition(std::string_view name) {
  return equalsIgnoringCase(name, "If-None-Match") || equalsIgnoringCase(name, "If-Modified-Since") ||
         equalsIgnoringCase(name, "If-Match") || equalsIgnoringCase(name, "If-Unmodified-Since") ||
         equalsIgnoringCase(name, "If-Range");
}

bool mustBeValidated(const CacheRequest& request, const CachedResponse& stored, const CacheTime& now) {
  if (request.control.noCache || stored.control().noCache) return true;
  if (request.isRepetition && !request.control.onlyIfCached) return true;
  const auto& maxAge = request.control.maxAge;
  // Within one second everything has the age 0: nobody who asks for that means it.
  return maxAge && (*maxAge == 0 || stored.age(now) > *maxAge);
}

bool isFreshEnough(const CacheRequest& request, const CachedResponse& stored, const CacheTime& now) {
  const std::int64_t freshFor = stored.freshFor(now);
  if (freshFor > 0) return freshFor >= request.control.minFresh.value_or(0);
  if (stored.control().mustRevalidate || request.control.minFresh) return false;
  return request.control.maxStale && -freshFor <= *request.control.maxStale;
}

bool mayBeValidatedLater(const CacheRequest& request, const CachedResponse& stored, const CacheTime& now,
                         const CacheConfiguration& configuration) {
  const CacheControl& control = stored.control();
  if (!configuration.servesStaleWhileRevalidating || !control.staleWhileRevalidate || control.mustRevalidate)
    return false;
  if (request.control.maxAge || request.control.minFresh || request.control.onlyIfCached) return false;
  return -stored.freshFor(now) <= *control.staleWhileRevalidate;
}

CacheChoice choiceByProtocol(const CacheRequest& request, const CachedResponse* stored, const CacheTime& now,
                             const CacheConfiguration& configuration) {
  if (!stored) return CacheChoice::load;
  if (!mustBeValidated(request, *stored, now)) {
    if (isFreshEnough(request, *stored, now)) return CacheChoice::serve;
    if (mayBeValidatedLater(request, *stored, now, configuration)) return CacheChoice::serveThenValidate;
  }
  return stored->hasValidator() ? CacheChoice::validate : CacheChoice::load;
}

/// As if every request might be sent.
CacheChoice choiceByPolicy(const CacheRequest& request, const CachedResponse* stored, const CacheTime& now,
                           const CacheConfiguration& configuration) {
  switch (request.policy) {
    case URLRequestCachePolicy::useProtocolCachePolicy:
      return choiceByProtocol(request, stored, now, configuration);
    case URLRequestCachePolicy::reloadIgnoringLocalCacheData:
    case URLRequestCachePolicy::reloadIgnoringLocalAndRemoteCacheData:
      return CacheChoice::load;
    case URLRequestCachePolicy::returnCacheDataElseLoad:
    case URLRequestCachePolicy::returnCacheDataDontLoad:
      return stored ? CacheChoice::serve : CacheChoice::load;
    case URLRequestCachePolicy::reloadRevalidatingCacheData:
      return stored && stored->hasValidator() ? CacheChoice::validate : CacheChoice::load;
  }
  return CacheChoice::load;
}

bool beginsWithDigest(std::string_view authorization) {
  constexpr std::string_view scheme = "Digest ";
  return equalsIgnoringCase(authorization.substr(0, scheme.size()), scheme);
}

}  // namespace

CacheRequest CacheRequest::of(RequestFields fields, const URLRequest& urlRequest) {
  CacheRequest request;
  request.policy = urlRequest.cachePolicy;
  request.isRepetition = urlRequest.isRepetition;
  bool hasControl = false;
  bool hasPragma = false;
  for (const auto& [name, value] : fields) {
    if (name.size() == 13 && equalsIgnoringCase(name, "Cache-Control")) {
      hasControl = true;
      request.control.add(value);
    } else if (name.size() == 6 && equalsIgnoringCase(name, "Pragma")) {
      forEachListElement(value, [&](std::string_view each) {
        if (equalsIgnoringCase(each, "no-cache")) hasPragma = true;
      });
    } else if (name.size() == 13 && equalsIgnoringCase(name, "Authorization")) {
      if (beginsWithDigest(value)) request.passesBy = true;
    } else if (equalsIgnoringCase(name, "Range") || isCondition(name)) {
      request.passesBy = true;
    }
  }
  if (hasPragma && !hasControl) request.control.noCache = true;
  if (request.control.noStore) request.passesBy = true;
  return request;
}

CacheChoice cacheChoice(const CacheRequest& request, const CachedResponse* stored, const CacheTime& now,
                        const CacheConfiguration& configuration) {
  const CacheChoice choice = choiceByPolicy(request, stored, now, configuration);
  const bool isSent = choice == CacheChoice::load || choice == CacheChoice::validate;
  return isSent && !request.mayBeSent() ? CacheChoice::unavailable : choice;
}

bool mayServeOnError(const CacheRequest& request, const CachedResponse& stored, const CacheTime& now,
                     const CacheConfiguration& configuration) {
  if (!configuration.servesStaleOnError || request.policy != URLRequestCachePolicy::useProtocolCachePolicy)
    return false;
  if (request.isRepetition || request.control.noCache || request.control.maxAge == 0) return false;
  if (stored.control().noCache || stored.control().mustRevalidate) return false;
  const auto& limit = request.control.staleIfError ? request.control.staleIfError : stored.control().staleIfError;
  return limit && -stored.freshFor(now) <= *limit;
}

bool isServerFailure(int statusCode) {
  return statusCode == 500 || statusCode == 502 || statusCode == 503 || statusCode == 504;
}

bool isSafeMethod(std::string_view method) {
  return method == "GET" || method == "HEAD" || method == "OPTIONS" || method == "TRACE";
}

}  // namespace platform::detail
