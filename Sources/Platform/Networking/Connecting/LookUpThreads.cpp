#include "Platform/Networking/Connecting/LookUpThreads.hpp"

#include <netdb.h>
#include <netinet/in.h>
#include <resolv.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

/// HOSTALIASES in the environment must not send a request to another host. The configuration is read anew each time,
/// since a changed option would otherwise keep the C library from noticing that it changed.
void ignoreHostAliases() {
#ifdef RES_NOALIASES
  if (::res_init() == 0) _res.options |= RES_NOALIASES;
#endif
}

std::string reasonOf(int code, int systemError) {
  return code == EAI_SYSTEM ? std::generic_category().message(systemError) : ::gai_strerror(code);
}

Failure failureOf(int code, int systemError, const std::string& host) {
  if (code == EAI_SYSTEM && (systemError == EMFILE || systemError == ENFILE)) {
    return {FailureCause::outOfDescriptors, "no descriptor is left to look up the name \"" + host + "\"", systemError};
  }
  if (code == EAI_AGAIN || code == EAI_SYSTEM || code == EAI_MEMORY) {
    return {FailureCause::nameLookupFailed,
            "the name \"" + host + "\" could not be looked up: " + reasonOf(code, systemError), code};
  }
  return {FailureCause::nameNotFound, "no address is known for the name \"" + host + "\"", code};
}

Resolution lookUp(const std::string& host) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  // No question to the name server for a family in which this machine has no address.
  hints.ai_flags = AI_ADDRCONFIG;
  ignoreHostAliases();
  addrinfo* found = nullptr;
  const int code = ::getaddrinfo(host.c_str(), nullptr, &hints, &found);
  if (code != 0) return failureOf(code, errno, host);
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> list(found, &::freeaddrinfo);
  auto addresses = std::make_shared<std::vector<HostAddress>>();
  for (const addrinfo* each = list.get(); each; each = each->ai_next) {
    const auto address = HostAddress::fromSystem(each->ai_addr);
    if (address && std::find(addresses->begin(), addresses->end(), *address) == addresses->end()) {
      addresses->push_back(*address);
    }
  }
  if (addresses->empty()) return failureOf(EAI_NONAME, 0, host);
  return HostAddresses(std::move(addresses));
}

Resolution lookUpOrFail(const std::string& host) noexcept {
  try {
    return lookUp(host);
  } catch (const std::bad_alloc&) {
    return Failure::outOfMemory();
  }
}

}  // namespace

void LookUpThreads::ask(std::uint64_t question, const std::string& host) {
  const detail::MutexLock lock(mutex_);
  wanted_.reserve(mostWanted);  // so that a thread needs no memory to take one
  line_.push_back({question, host});
  startThreads();
}

bool LookUpThreads::abandon(std::uint64_t question) {
  const detail::MutexLock lock(mutex_);
  const auto waits =
      std::find_if(line_.begin(), line_.end(), [&](const Asked& each) { return each.question == question; });
  if (waits != line_.end()) {
    line_.erase(waits);
    return true;
  }
  std::erase(wanted_, question);
  startThreads();
  return false;
}

void LookUpThreads::close() {
  resolver_ = nullptr;
  const detail::MutexLock lock(mutex_);
  isClosed_ = true;
  line_.clear();
  changed_.notifyAll();
}

void LookUpThreads::startThreads() {
  if (line_.empty()) return;
  if (idle_ >= line_.size()) {
    changed_.notifyOne();
    return;
  }
  if (wanted_.size() >= mostWanted || threads_ >= mostThreads) return;
  if (detail::startThread("name look-up", [self = shared_from_this()] { self->run(); })) {
    ++threads_;
  } else if (threads_ == 0) {
    failWaiting();
  }
}

void LookUpThreads::failWaiting() try {
  for (const Asked& each : std::exchange(line_, {})) {
    report(each.question, Failure{FailureCause::nameLookupFailed, "no thread can be started to look up names", EAGAIN});
  }
} catch (const std::bad_alloc&) {
  trap("out of memory: no thread can be started to look up names");
}

void LookUpThreads::run() {
  Asked next;
  while (takeNext(next)) {
    Resolution resolution = lookUpOrFail(next.host);
    const detail::MutexLock lock(mutex_);
    std::erase(wanted_, next.question);
    report(next.question, std::move(resolution));
  }
}

bool LookUpThreads::takeNext(Asked& next) {
  const detail::MutexLock lock(mutex_);
  ++idle_;
  changed_.waitUntil(mutex_, std::chrono::steady_clock::now() + idleTime,
                     [this]() CORVANE_REQUIRES(mutex_) { return !line_.empty() || isClosed_; });
  --idle_;
  if (line_.empty()) {
    --threads_;
    return false;
  }
  next = std::move(line_.front());
  line_.pop_front();
  wanted_.push_back(next.question);
  return true;
}

void LookUpThreads::report(std::uint64_t question, Resolution resolution) {
  if (isClosed_) return;
  detail::requiringMemory("the addresses of a host cannot be told", [&] {
    loop_.post([self = shared_from_this(), question, resolution = std::move(resolution)] {
      if (self->resolver_) self->resolver_->lookedUp(question, resolution);
    });
  });
}

}  // namespace platform::networking
