#include "Platform/Loading/Internal/HTTPLoader.hpp"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "Platform/Loading/Internal/NetworkChanges.hpp"
#include "Platform/Loading/Internal/NetworkOptions.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Networking/Connecting/Resolver.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Loads kept for the next requests.
constexpr std::size_t spareLimit = 64;

/// One for the process, since names are the same for all sessions.
networking::Resolver& sharedResolver(networking::EventLoop& loop) {
  static networking::Resolver& resolver = [&]() -> networking::Resolver& {
    auto& made = *new networking::Resolver(loop);
    NetworkChanges::shared(loop).tell([&made] { made.forget(); });
    return made;
  }();
  return resolver;
}

/// Zero for no limit.
networking::Duration connectTimeout(const URLRequest& request) {
  if (std::isinf(request.connectTimeout)) return networking::Duration::zero();
  return std::max<networking::Duration>(networking::durationOfSeconds(request.connectTimeout),
                                        std::chrono::milliseconds(1));
}

std::shared_ptr<HTTPCookieStorage> cookieStorage(const URLSessionConfiguration& configuration) {
  if (!configuration.httpShouldSetCookies) return nullptr;
  return configuration.httpCookieStorage ? configuration.httpCookieStorage : std::make_shared<HTTPCookieStorage>();
}

networking::Duration idleTimeout(const URLRequest& request) {
  return std::max<networking::Duration>(networking::durationOfSeconds(request.timeoutInterval),
                                        std::chrono::milliseconds(1));
}

}  // namespace

HTTPLoader::HTTPLoader(networking::EventLoop& loop, const URLSessionConfiguration& configuration,
                       networking::ConnectionPool::Challenge challenge)
    : loop_(loop),
      configuration_(configuration),
      cookies_(cookieStorage(configuration)),
      pool_(loop, sharedResolver(loop),
            networking::TLSContext::make(tlsOptions(configuration.tls, configuration.connections.httpVersions)),
            std::move(challenge), connectionOptions(configuration.connections)) {
  if (const auto capacity = configuration_.cache.capacityBytes; capacity > 0)
    cache_ = std::make_unique<HTTPCacheStore>(static_cast<std::size_t>(capacity));
}

HTTPLoader::~HTTPLoader() {
  for (const auto& revalidation : revalidations_) withdraw(*revalidation);
  loop_.cancelDeferred(*this);
}

void HTTPLoader::submit(LoadOwner& owner) {
  HTTPLoad& load = takeLoad();
  owner.load = &load;
  if (std::optional<Error> refusal = load.prepare(owner)) return refuse(load, std::move(*refusal));
  switch (load.askCache()) {
    case CacheChoice::load:
    case CacheChoice::validate:
      load.request().exchangeSources ? load.askSources() : sendToNetwork(load);
      break;
    case CacheChoice::serveThenValidate:
      validateLater(load);
      [[fallthrough]];
    case CacheChoice::serve:
      served_.push_back(&owner);
      loop_.defer(*this);
      break;
    case CacheChoice::unavailable:
      refuse(load, notStoredError(load.request().url));
      break;
  }
}

/// Told later, so that the owner is never called back from inside its own submission.
void HTTPLoader::refuse(HTTPLoad& load, Error error) {
  refused_.emplace_back(&load.owner(), std::move(error));
  loop_.defer(*this);
}

/// One at a time for each stored response.
void HTTPLoader::validateLater(const HTTPLoad& load) noexcept {
  const auto& stored = load.storedResponse();
  const auto isOfStored = [&](const auto& each) { return each->stored() == stored; };
  if (std::any_of(revalidations_.begin(), revalidations_.end(), isOfStored)) return;
  try {
    revalidations_.push_back(
        std::make_unique<Revalidation>(load.request(), stored, load.owner().keptAlive(), [this](Revalidation& done) {
          std::erase_if(revalidations_, [&](const auto& each) { return each.get() == &done; });
        }));
    revalidations_.back()->limitBody(static_cast<std::int64_t>(cache_->longest()));
  } catch (const std::bad_alloc&) {
    // The request has its response; the next one tries again.
    return;
  }
  try {
    submit(*revalidations_.back());
  } catch (const std::bad_alloc&) {
    withdraw(*revalidations_.back());
    revalidations_.pop_back();
  }
}

void HTTPLoader::sendToNetwork(HTTPLoad& load) {
  load.exchange().setConnectTimeout(connectTimeout(load.request()));
  pool_.submit(load.exchange(), load.route(), idleTimeout(load.request()),
               static_cast<std::size_t>(std::max(configuration_.httpMaximumConnectionsPerHost, 0)));
}

void HTTPLoader::sendToSource(HTTPLoad& load, networking::HTTPConnection& connection) {
  pool_.submit(load.exchange(), connection, idleTimeout(load.request()));
}

void HTTPLoader::runDeferred() {
  while (!refused_.empty()) {
    auto [owner, error] = std::move(refused_.front());
    refused_.pop_front();
    end(*owner->load, owner->load->abandon(std::move(error)));
  }
  while (!served_.empty()) {
    LoadOwner* const owner = served_.front();
    served_.pop_front();
    owner->load->serveStored();
  }
  if (spare_.size() > spareLimit) spare_.resize(spareLimit);
}

HTTPLoad& HTTPLoader::takeLoad() {
  std::unique_ptr<HTTPLoad> load;
  if (spare_.empty()) {
    load = std::make_unique<HTTPLoad>(*this);
  } else {
    load = std::move(spare_.back());
    spare_.pop_back();
  }
  // So that it needs no memory to be kept when it ends.
  if (spare_.capacity() <= spare_.size() + active_.size()) spare_.reserve(2 * (spare_.size() + active_.size()) + 4);
  load->place = active_.size();
  return *active_.emplace_back(std::move(load));
}

void HTTPLoader::withdraw(LoadOwner& owner) {
  if (!owner.load) return;
  std::erase_if(refused_, [&](const auto& refusal) { return refusal.first == &owner; });
  std::erase(served_, &owner);
  pool_.withdraw(owner.load->exchange());
  release(*owner.load);
}

void HTTPLoader::end(HTTPLoad& load, LoadOutcome outcome) noexcept {
  LoadOwner& owner = load.owner();
  release(load);
  outcome.requestWasSent = owner.hasSent;
  owner.loadEnded(std::move(outcome));
}

void HTTPLoader::submitAgain(HTTPLoad& load, TransactionMetrics::Cause cause) noexcept {
  LoadOwner& owner = load.owner();
  release(load);
  owner.metricsRecord.setCause(cause);
  try {
    submit(owner);
  } catch (const std::bad_alloc&) {
    withdraw(owner);
    LoadOutcome outcome;
    outcome.error = Error::outOfMemory();
    outcome.requestWasSent = owner.hasSent;
    owner.loadEnded(std::move(outcome));
  }
}

/// The object stays alive: its caller may still be inside of it.
void HTTPLoader::release(HTTPLoad& load) {
  load.recordMetrics();
  load.owner().load = nullptr;
  if (load.exchange().requestWasSent()) load.owner().hasSent = true;
  load.recycle();
  const std::size_t place = load.place;
  std::unique_ptr<HTTPLoad> taken = std::move(active_[place]);
  if (place + 1 != active_.size()) {
    active_[place] = std::move(active_.back());
    active_[place]->place = place;
  }
  active_.pop_back();
  spare_.push_back(std::move(taken));
  if (spare_.size() > spareLimit) loop_.defer(*this);
}

void HTTPLoader::scheduleReport(ProgressMeter& meter) {
  // One that is armed may have reported since; its time begins again then.
  if (meter.isArmed()) {
    meter.postpone(meter.due());
  } else {
    loop_.arm(meter, meter.due());
  }
}

void HTTPLoader::appendCookies(const RequestTarget& target, std::string& out) {
  if (cookies_) cookies_->appendTo(out, target);
}

void HTTPLoader::storeCookies(const RequestTarget& target, const HTTPHeaderFields& fields) {
  if (!cookies_) return;
  for (const auto& [name, value] : fields) {
    if (name.size() == 10 && equalsIgnoringCase(name, "Set-Cookie")) {
      cookies_->store(value, target);
    }
  }
}

}  // namespace platform::detail
