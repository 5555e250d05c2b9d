#include "Platform/Networking/Connecting/Resolver.hpp"

#include <netdb.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "Platform/Networking/Connecting/LocalHost.hpp"
#include "Platform/Networking/Connecting/LookUpThreads.hpp"

namespace platform::networking {

namespace {

HostAddresses listOf(std::vector<HostAddress> addresses) {
  return std::make_shared<const std::vector<HostAddress>>(std::move(addresses));
}

const HostAddresses& localAddresses() {
  static const HostAddresses& addresses =
      *new HostAddresses(listOf({HostAddress::loopback6(), HostAddress::loopback4()}));
  return addresses;
}

}  // namespace

LookUp::~LookUp() {
  if (resolver_) resolver_->cancel(*this);
}

Resolver::Resolver(EventLoop& loop) : loop_(loop), threads_(std::make_shared<LookUpThreads>(loop, *this)) {}

Resolver::~Resolver() { threads_->close(); }

std::optional<Resolution> Resolver::resolve(const std::string& host, LookUp& lookUp) {
  if (auto known = knownAtOnce(host)) return known;
  const auto known = current_.find(host);
  const std::uint64_t number = known == current_.end() ? ask(host) : known->second;
  questions_[number].waiting.push_back(&lookUp);
  lookUp.resolver_ = this;
  lookUp.question_ = number;
  return std::nullopt;
}

/// Where memory runs out, it is as if it had never been asked.
std::uint64_t Resolver::ask(const std::string& host) {
  const std::uint64_t number = ++lastQuestion_;
  try {
    questions_[number].host = host;
    current_.emplace(host, number);
    threads_->ask(number, host);
  } catch (const std::bad_alloc&) {
    questions_.erase(number);
    current_.erase(host);
    throw;
  }
  return number;
}

std::optional<Resolution> Resolver::knownAtOnce(const std::string& host) {
  if (const auto address = HostAddress::fromText(host)) return listOf({*address});
  if (isLocalName(host)) return localAddresses();
  if (host.empty() || host.find('\0') != std::string::npos) {
    return Failure{FailureCause::nameNotFound, "the URL names no host", EAI_NONAME};
  }
  const auto kept = kept_.find(host);
  if (kept == kept_.end()) return std::nullopt;
  if (loop_.now() < kept->second.end) return kept->second.addresses;
  kept_.erase(kept);
  return std::nullopt;
}

void Resolver::cancel(LookUp& lookUp) {
  if (!lookUp.resolver_) return;
  lookUp.resolver_ = nullptr;
  const auto place = questions_.find(lookUp.question_);
  if (place == questions_.end()) return;
  Question& question = place->second;
  std::erase(question.waiting, &lookUp);
  if (!question.waiting.empty()) return;
  if (!threads_->abandon(place->first)) return;
  if (question.isCurrent) current_.erase(question.host);
  questions_.erase(place);
}

void Resolver::forget() {
  kept_.clear();
  current_.clear();
  for (auto& [number, question] : questions_) question.isCurrent = false;
}

void Resolver::forget(const std::string& host) {
  kept_.erase(host);
  const auto place = current_.find(host);
  if (place == current_.end()) return;
  questions_[place->second].isCurrent = false;
  current_.erase(place);
}

void Resolver::lookedUp(std::uint64_t number, const Resolution& resolution) {
  const auto place = questions_.find(number);
  if (place == questions_.end()) return;
  if (place->second.isCurrent) {
    current_.erase(place->second.host);
    if (const auto* addresses = std::get_if<HostAddresses>(&resolution)) keep(place->second.host, *addresses);
  }
  // One who is told may end the wait of another.
  for (auto& waiting = place->second.waiting; !waiting.empty();) {
    LookUp& next = *waiting.front();
    waiting.erase(waiting.begin());
    next.resolver_ = nullptr;
    next.nameResolved(resolution);
  }
  questions_.erase(number);
}

/// Without memory for it, they are asked for again.
void Resolver::keep(const std::string& host, const HostAddresses& addresses) try {
  if (kept_.size() >= mostKept) {
    const auto first = std::min_element(kept_.begin(), kept_.end(), [](const auto& left, const auto& right) {
      return left.second.end < right.second.end;
    });
    kept_.erase(first);
  }
  kept_.insert_or_assign(host, Kept{addresses, loop_.now() + lifetime});
} catch (const std::bad_alloc&) {
  // Nothing is kept.
}

}  // namespace platform::networking
