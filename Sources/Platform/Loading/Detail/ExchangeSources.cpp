#include "Platform/Loading/Detail/ExchangeSources.hpp"

#include <algorithm>
#include <atomic>
#include <utility>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"

namespace platform::detail {

namespace {

/// Never destroyed: requests are sent until the process is gone.
struct Register {
  static Register& shared() {
    static Register& instance = *new Register;
    return instance;
  }

  Mutex mutex;
  std::vector<std::shared_ptr<ExchangeSource>> sources CORVANE_GUARDED_BY(mutex);
};

constinit std::atomic<bool> sourcesExist = false;

}  // namespace

bool ExchangeSources::exist() { return sourcesExist.load(std::memory_order_acquire); }

std::shared_ptr<ExchangeSources> ExchangeSources::collect(const std::type_info& requestType) {
  auto result = std::make_shared<ExchangeSources>();
  result->requestType = &requestType;
  Register& all = Register::shared();
  const MutexLock lock(all.mutex);
  result->sources = all.sources;
  return result->sources.empty() ? nullptr : result;
}

void ExchangeSources::add(std::shared_ptr<ExchangeSource> source) {
  Register& all = Register::shared();
  const MutexLock lock(all.mutex);
  all.sources.insert(all.sources.begin(), std::move(source));
  sourcesExist.store(true, std::memory_order_release);
}

void ExchangeSources::remove(const ExchangeSource& source) {
  // Destroyed after the lock was released.
  std::shared_ptr<ExchangeSource> removed;
  Register& all = Register::shared();
  const MutexLock lock(all.mutex);
  const auto found = std::find_if(all.sources.begin(), all.sources.end(),
                                  [&](const std::shared_ptr<ExchangeSource>& each) { return each.get() == &source; });
  if (found == all.sources.end()) return;
  removed = std::move(*found);
  all.sources.erase(found);
  sourcesExist.store(!all.sources.empty(), std::memory_order_release);
}

}  // namespace platform::detail
