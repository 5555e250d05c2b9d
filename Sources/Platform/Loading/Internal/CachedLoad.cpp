#include "Platform/Loading/Internal/CachedLoad.hpp"

#include <chrono>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Loading/Internal/Caching/CacheTime.hpp"
#include "Platform/Loading/Internal/HTTPLoader.hpp"
#include "Platform/Loading/Internal/RedirectLocation.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Weak comparison (RFC 9110, 8.8.3.2).
bool areEquivalent(std::string_view left, std::string_view right) {
  if (left.starts_with("W/")) left.remove_prefix(2);
  if (right.starts_with("W/")) right.remove_prefix(2);
  return left == right;
}

/// Whether it tells what there is now: a failure to tell, as 401 or 429, leaves what is stored.
bool tellsWhatThereIs(int statusCode) {
  return (statusCode >= 200 && statusCode < 400 && statusCode != 304) || statusCode == 404 || statusCode == 410;
}

/// Whether the body went on until the connection closed (RFC 9112, 6.3): one that broke off looks the same.
bool endsWithConnection(const HTTPURLResponse& response) {
  const HTTPHeaderFields& fields = response.allHeaderFields();
  return response.statusCode() != 204 && response.httpVersion().starts_with("HTTP/1") &&
         !fields.contains("Content-Length") && !fields.contains("Transfer-Encoding");
}

}  // namespace

/// A test that stands between the request and the network is to see every request.
CacheChoice HTTPLoad::askCache() {
  const CacheRequest request = CacheRequest::of(fields_, *request_);
  const CacheChoice otherwise = request.mayBeSent() ? CacheChoice::load : CacheChoice::unavailable;
  HTTPCacheStore* const store = loader_.cache();
  if (!store) return otherwise;
  if (!isSafeMethod(request_->httpMethod)) {
    cacheRole_ = CacheRole::invalidates;
    return otherwise;
  }
  if (request_->exchangeSources) return otherwise;
  const bool isRead = request_->httpMethod == "GET" || request_->httpMethod == "HEAD";
  return isRead && !body_ && !request.passesBy && owner_->usesCache() ? askStore(*store, request) : otherwise;
}

CacheChoice HTTPLoad::askStore(HTTPCacheStore& store, const CacheRequest& request) {
  const CacheConfiguration& configuration = loader_.configuration().cache;
  const bool isGet = request_->httpMethod == "GET";
  cacheRole_ = isGet ? CacheRole::stores : CacheRole::reads;
  invalidationsBefore_ = store.invalidations();
  auto stored = store.isEmpty() ? nullptr : store.find(cacheKey(), fields_);
  const CacheTime now = CacheTime::now();
  CacheChoice choice = cacheChoice(request, stored.get(), now, configuration);
  // The response of a HEAD has no body to store.
  const bool isValidated = choice == CacheChoice::validate || choice == CacheChoice::serveThenValidate;
  if (isValidated && !isGet) choice = CacheChoice::load;
  if (!stored || choice == CacheChoice::unavailable) return choice;
  const bool standsForErrors = mayServeOnError(request, *stored, now, configuration);
  if (choice == CacheChoice::load && !standsForErrors) return choice;
  cached_ = std::make_unique<CachedLoad>();
  cached_->stored = std::move(stored);
  cached_->standsForErrors = standsForErrors;
  if (choice == CacheChoice::validate) addConditions();
  return choice;
}

/// RFC 9111, 4.3.1.
void HTTPLoad::addConditions() {
  cached_->isValidation = true;
  cached_->entityTag = cached_->stored->entityTag().value_or("");
  cached_->lastModified = cached_->stored->lastModified().value_or("");
  if (!cached_->entityTag.empty()) addField("If-None-Match", cached_->entityTag);
  if (!cached_->lastModified.empty()) addField("If-Modified-Since", cached_->lastModified);
  head_.fields = fields_;
}

std::string HTTPLoad::cacheKey() const { return detail::cacheKey(target_.route().origin, target_.target(), ownHost()); }

/// Empty where it is the one of the URL.
std::string_view HTTPLoad::ownHost() const {
  for (const auto& [name, value] : fields_) {
    if (name.size() == 4 && equalsIgnoringCase(name, "Host"))
      return equalsIgnoringCase(value, target_.authority()) ? std::string_view() : value;
  }
  return {};
}

/// True: the stored response takes the place of this one.
bool HTTPLoad::cacheTakesHead(int statusCode, const HTTPHeaderFields& fields) {
  if (cacheRole_ == CacheRole::invalidates) {
    if (statusCode >= 200 && statusCode < 400) invalidateStored(fields);
    return false;
  }
  if (!cached_) return false;
  if (cached_->isValidation && statusCode == 304) {
    confirmStored(fields);
    return true;
  }
  cached_->isServed = cached_->standsForErrors && isServerFailure(statusCode);
  return cached_->isServed;
}

void HTTPLoad::confirmStored(const HTTPHeaderFields& fields) {
  HTTPCacheStore* const store = loader_.cache();
  const auto before = cached_->stored;
  const auto tag = fields.value("ETag");
  cached_->isContradicted = tag && !cached_->entityTag.empty() && !areEquivalent(*tag, cached_->entityTag);
  if (cached_->isContradicted) return removeStored();
  cached_->isServed = true;
  cached_->stored = before->refreshed(fields, fields_, responseTimes());
  if (!store) return;
  if (cached_->stored->mayBeStored()) {
    store->replace(cacheKey(), before, cached_->stored);
  } else {
    removeStored();
  }
}

/// It is not what there is any more, whichever load stored it meanwhile, unless that was begun later.
void HTTPLoad::removeStored() {
  HTTPCacheStore* const store = loader_.cache();
  if (!store) return;
  const std::string key = cacheKey();
  if (!store->hasNewer(key, fields_, exchange_.metrics().begun)) store->supersede(key, fields_);
}

/// What it named, too, where that is of the same origin (RFC 9111, 4.4).
void HTTPLoad::invalidateStored(const HTTPHeaderFields& fields) {
  HTTPCacheStore* const store = loader_.cache();
  if (!store) return;
  store->invalidate(cacheKey());
  for (const std::string_view name : {"Location", "Content-Location"}) {
    const auto value = fields.value(name);
    const auto url = value ? resolvedLocation(*value, request_->url) : std::nullopt;
    RequestTarget named;
    if (url && named.set(*url) && named.route().origin == target_.route().origin)
      store->invalidate(detail::cacheKey(named.route().origin, named.target(), ownHost()));
  }
}

/// A server that is not trusted is no server that cannot be reached.
bool HTTPLoad::cacheStandsFor(const std::optional<networking::ExchangeProblem>& problem) const {
  if (!cached_) return false;
  if (cached_->isServed) return true;
  return problem && !response_ && cached_->standsForErrors &&
         problem->kind != networking::ExchangeProblem::Kind::rejected;
}

/// Of the response that is being received.
ResponseTimes HTTPLoad::responseTimes() const {
  const auto begun = exchange_.metrics().begun;
  const auto delay = std::chrono::duration_cast<std::chrono::seconds>(loader_.loop().now() - begun);
  return {.received = CacheTime::now(), .delay = delay.count(), .requested = begun};
}

/// Requires: the response is complete.
void HTTPLoad::storeResponse(const Data& body) noexcept {
  HTTPCacheStore* const store = loader_.cache();
  if (!store || !response_) return;
  // The body of a redirect that is followed was not kept.
  const bool isWhole = wantsBody_ || response_->expectedContentLength() == 0;
  const bool isUsable = isWhole && !endsWithConnection(*response_) && body.count() <= store->longest();
  try {
    auto stored = isUsable ? CachedResponse::of({.statusCode = response_->statusCode(),
                                                 .httpVersion = response_->httpVersion(),
                                                 .fields = response_->allHeaderFields(),
                                                 .body = body,
                                                 .times = responseTimes()},
                                                fields_)
                           : nullptr;
    // What others may be receiving, who asked for it before, is not to be stored after this one either.
    const bool supersedes =
        tellsWhatThereIs(response_->statusCode()) && (!store->isEmpty() || loader_.hasSeveralLoads());
    if (!stored && !supersedes) return;
    const std::string key = cacheKey();
    if (store->hasNewer(key, fields_, exchange_.metrics().begun)) return;
    if (stored && !store->wasInvalidated(key, invalidationsBefore_)) {
      store->put(key, std::move(stored), fields_);
    } else if (supersedes) {
      store->supersede(key, fields_);
    }
  } catch (const std::bad_alloc&) {
    // The response itself is there, and must not depend on who keeps it.
    return;
  }
}

void HTTPLoad::presentStored(LoadOutcome& outcome) {
  const CachedResponse& stored = *cached_->stored;
  auto response = std::make_shared<HTTPURLResponse>(request_->url, stored.statusCode(), stored.httpVersion(),
                                                    stored.fieldsAt(CacheTime::now()));
  response->setRedirects(owner_->redirects());
  outcome.response = response;
  cached_->isServed = true;
  if (!owner_->wantsBody(response) || request_->httpMethod == "HEAD") return;
  const auto count = static_cast<std::int64_t>(stored.body().count());
  owner_->bodyAnnounced(count);
  if (count > bodyLimit()) {
    fail({URLErrorCode::dataLengthExceedsMaximum, "the stored body of " + std::to_string(count) +
                                                      " bytes exceeds the limit of " + std::to_string(bodyLimit())});
    return;
  }
  cached_->servedBytes = stored.body().count();
  outcome.body = stored.body();
  owner_->bodyReceived(count);
}

void HTTPLoad::serveStored() noexcept {
  LoadOutcome outcome;
  try {
    presentStored(outcome);
  } catch (const std::bad_alloc&) {
    failure_ = Error::outOfMemory();
  }
  outcome.error = std::move(failure_);
  loader_.end(*this, std::move(outcome));
}

}  // namespace platform::detail
