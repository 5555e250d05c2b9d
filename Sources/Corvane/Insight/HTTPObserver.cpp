#include "Corvane/Insight/HTTPObserver.hpp"

#include <atomic>
#include <utility>

#include "Platform/Detail/Locking.hpp"

namespace corvane {

using platform::detail::Mutex;
using platform::detail::MutexLock;

namespace {

struct ProcessWideObserver {
  static ProcessWideObserver& shared() {
    static ProcessWideObserver& observer = *new ProcessWideObserver;
    return observer;
  }

  Mutex mutex;
  std::shared_ptr<HTTPObserver> observer CORVANE_GUARDED_BY(mutex);
};

/// So that those who have none take no lock.
constinit std::atomic<bool> isObserved = false;

}  // namespace

HTTPObserver::~HTTPObserver() = default;

void HTTPObserver::exchangeStarted(const HTTPObservedExchange&) {}

void HTTPObserver::responseReceived(const HTTPObservedExchange&, const platform::HTTPURLResponse&) {}

void HTTPObserver::exchangeEnded(const HTTPObservedExchange&, const std::shared_ptr<const platform::TaskMetrics>&,
                                 const platform::Error*) {}

void HTTPObserver::setProcessWide(std::shared_ptr<HTTPObserver> observer) {
  auto& shared = ProcessWideObserver::shared();
  const MutexLock lock(shared.mutex);
  isObserved = observer != nullptr;
  // The earlier one is destroyed without the lock.
  shared.observer.swap(observer);
}

std::shared_ptr<HTTPObserver> HTTPObserver::processWide() {
  if (!isObserved) return nullptr;
  auto& shared = ProcessWideObserver::shared();
  const MutexLock lock(shared.mutex);
  return shared.observer;
}

}  // namespace corvane
