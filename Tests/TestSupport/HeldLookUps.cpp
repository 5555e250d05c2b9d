#include "TestSupport/HeldLookUps.hpp"

#include <dlfcn.h>
#include <netdb.h>

#include <condition_variable>
#include <mutex>
#include <string_view>

namespace corvane::testkit {

namespace {

/// Never destroyed: threads that look names up may outlive everything.
struct Resolver {
  std::mutex mutex;
  std::condition_variable changed;
  int waiting = 0;
  int localLookUps = 0;
  bool isHeld = false;

  static Resolver& shared() {
    static Resolver& resolver = *new Resolver;
    return resolver;
  }
  void countLocalLookUp() {
    const std::lock_guard lock(mutex);
    ++localLookUps;
  }
  void pass() {
    std::unique_lock lock(mutex);
    ++waiting;
    changed.notify_all();
    changed.wait(lock, [&] { return !isHeld; });
    --waiting;
    changed.notify_all();
  }
};

bool isHeldName(std::string_view name) {
  if (!name.ends_with(HeldLookUps::name)) return false;
  name.remove_suffix(std::string_view(HeldLookUps::name).size());
  return name.empty() || name.ends_with('.');
}

}  // namespace

int HeldLookUps::localLookUps() {
  const std::lock_guard lock(Resolver::shared().mutex);
  return Resolver::shared().localLookUps;
}

HeldLookUps::HeldLookUps() {
  const std::lock_guard lock(Resolver::shared().mutex);
  Resolver::shared().isHeld = true;
}

HeldLookUps::~HeldLookUps() { release(); }

void HeldLookUps::release() {
  Resolver& resolver = Resolver::shared();
  std::unique_lock lock(resolver.mutex);
  resolver.isHeld = false;
  resolver.changed.notify_all();
  resolver.changed.wait(lock, [&] { return resolver.waiting == 0; });
}

int HeldLookUps::waiting() const {
  const std::lock_guard lock(Resolver::shared().mutex);
  return Resolver::shared().waiting;
}

bool HeldLookUps::waitForWaiting(int count, std::chrono::milliseconds limit) const {
  Resolver& resolver = Resolver::shared();
  std::unique_lock lock(resolver.mutex);
  return resolver.changed.wait_for(lock, limit, [&] { return resolver.waiting >= count; });
}

}  // namespace corvane::testkit

extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
  using corvane::testkit::HeldLookUps;
  using corvane::testkit::isHeldName;
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
  const std::string_view name = node ? node : "";
  if (name == HeldLookUps::missingName) return EAI_NONAME;
  if (name == HeldLookUps::unansweredName) return EAI_AGAIN;
  if (name == HeldLookUps::localName) {
    corvane::testkit::Resolver::shared().countLocalLookUp();
    return next("127.0.0.1", service, hints, result);
  }
  if (name == HeldLookUps::twofoldName) {
    addrinfo** rest = result;
    for (const char* address : {"127.0.0.1", "127.0.0.2"}) {
      if (const int error = next(address, service, hints, rest)) return error;
      while (*rest) rest = &(*rest)->ai_next;
    }
    return 0;
  }
  if (!isHeldName(name)) return next(node, service, hints, result);
  corvane::testkit::Resolver::shared().pass();
  return EAI_NONAME;
}
