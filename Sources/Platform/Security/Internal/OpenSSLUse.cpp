#include "Platform/Security/Internal/OpenSSLUse.hpp"

#include <openssl/ssl.h>

#include <chrono>
#include <cstdlib>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"

namespace platform::detail {
namespace {

class Uses {
 public:
  static Uses& shared() {
    static Uses& uses = *new Uses;
    return uses;
  }

  bool begin() {
    const MutexLock lock(mutex_);
    if (!isClosed_) ++count_;
    return !isClosed_;
  }
  void end() {
    const MutexLock lock(mutex_);
    if (--count_ == 0 && isClosed_) changed_.notifyAll();
  }
  void abandon(void* object) {
    const MutexLock lock(mutex_);
    abandoned_.push_back(object);
  }

 private:
  Uses() {
    // What OpenSSL does at exit is registered by now, if it does anything, so this comes before. Who is the first to
    // use it decides on the configuration file, which the environment may name: this library reads none.
    OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT | OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
    std::atexit([] { shared().close(); });
  }
  void close() {
    if (ForkGuard::isForkedChild()) return;  // its user is not here
    const MutexLock lock(mutex_);
    isClosed_ = true;
    changed_.waitUntil(mutex_, std::chrono::steady_clock::now() + std::chrono::seconds(1),
                       [this]() CORVANE_REQUIRES(mutex_) { return count_ == 0; });
  }

  Mutex mutex_;
  ConditionVariable changed_;
  int count_ CORVANE_GUARDED_BY(mutex_) = 0;
  bool isClosed_ CORVANE_GUARDED_BY(mutex_) = false;
  std::vector<void*> abandoned_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace

OpenSSLUse::OpenSSLUse() : isAllowed_(Uses::shared().begin()) {}

void OpenSSLUse::prepare() { Uses::shared(); }

void OpenSSLUse::abandon(void* object) { Uses::shared().abandon(object); }

OpenSSLUse::~OpenSSLUse() {
  if (isAllowed_) Uses::shared().end();
}

}  // namespace platform::detail
