#include "Platform/Loading/Internal/HTTPLoader.hpp"

#include <algorithm>
#include <utility>

#include "Platform/Loading/Internal/NetworkChanges.hpp"
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

}  // namespace

HTTPLoader::HTTPLoader(networking::EventLoop& loop, const URLSessionConfiguration& configuration,
                       networking::ConnectionPool::Challenge challenge)
    : loop_(loop),
      configuration_(configuration),
      pool_(loop, sharedResolver(loop), networking::TLSContext::make(), std::move(challenge)) {
  if (configuration_.httpShouldSetCookies) cookies_.emplace();
}

HTTPLoader::~HTTPLoader() { loop_.cancelDeferred(*this); }

void HTTPLoader::submit(LoadOwner& owner) {
  HTTPLoad& load = takeLoad();
  owner.load = &load;
  if (std::optional<Error> refusal = load.prepare(owner)) {
    // Told later, so that the owner is never called back from inside its own submission.
    refused_.emplace_back(&owner, std::move(*refusal));
    loop_.defer(*this);
    return;
  }
  pool_.submit(load.exchange(), load.route(),
               std::max<networking::Duration>(networking::durationOfSeconds(load.request().timeoutInterval),
                                              std::chrono::milliseconds(1)),
               static_cast<std::size_t>(std::max(configuration_.httpMaximumConnectionsPerHost, 0)));
}

void HTTPLoader::runDeferred() {
  while (!refused_.empty()) {
    auto [owner, error] = std::move(refused_.back());
    refused_.pop_back();
    end(*owner->load, owner->load->abandon(std::move(error)));
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
  pool_.withdraw(owner.load->exchange());
  release(*owner.load);
}

void HTTPLoader::end(HTTPLoad& load, LoadOutcome outcome) noexcept {
  LoadOwner& owner = load.owner();
  release(load);
  owner.loadEnded(std::move(outcome));
}

/// The object stays alive: its caller may still be inside of it.
void HTTPLoader::release(HTTPLoad& load) {
  load.owner().load = nullptr;
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
  if (cookies_) cookies_->appendTo(out, target.route().origin, target.target());
}

void HTTPLoader::storeCookies(const RequestTarget& target, const HTTPHeaderFields& fields) {
  if (!cookies_) return;
  for (const auto& [name, value] : fields) {
    if (name.size() == 10 && equalsIgnoringCase(name, "Set-Cookie")) {
      cookies_->store(value, target.route().origin, target.target());
    }
  }
}

}  // namespace platform::detail
