#include "Platform/Security/Internal/OpenSSLUse.hpp"

#include <openssl/ssl.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace platform::detail {
namespace {

class Uses {
 public:
  static Uses& shared() {
    static Uses& uses = *new Uses;
    return uses;
  }

  bool begin() {
    const std::lock_guard lock(mutex_);
    if (!isClosed_) ++count_;
    return !isClosed_;
  }
  void end() {
    const std::lock_guard lock(mutex_);
    if (--count_ == 0 && isClosed_) changed_.notify_all();
  }
  void abandon(void* object) {
    const std::lock_guard lock(mutex_);
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
    std::unique_lock lock(mutex_);
    isClosed_ = true;
    changed_.wait_for(lock, std::chrono::seconds(1), [this] { return count_ == 0; });
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
  bool isClosed_ = false;
  std::vector<void*> abandoned_;
};

}  // namespace

OpenSSLUse::OpenSSLUse() : isAllowed_(Uses::shared().begin()) {}

void OpenSSLUse::prepare() { Uses::shared(); }

void OpenSSLUse::abandon(void* object) { Uses::shared().abandon(object); }

OpenSSLUse::~OpenSSLUse() {
  if (isAllowed_) Uses::shared().end();
}

}  // namespace platform::detail
