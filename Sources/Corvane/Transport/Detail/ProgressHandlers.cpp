#include "Corvane/Transport/Detail/ProgressHandlers.hpp"

#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Velisand/ExecutorReference.hpp"

namespace corvane::detail {

using platform::detail::Mutex;
using platform::detail::MutexLock;

struct ProgressHandlers::List {
  mutable Mutex mutex;
  std::vector<velisand::ExecutorReference<HTTPProgress>> references CORVANE_GUARDED_BY(mutex);
  bool hasEnded CORVANE_GUARDED_BY(mutex) = false;
};

ProgressHandlers::ProgressHandlers() : list_(std::make_unique<List>()) {}

ProgressHandlers::~ProgressHandlers() = default;

void ProgressHandlers::append(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler) {
  if (!handler) return;
  const MutexLock lock(list_->mutex);
  if (!list_->hasEnded) list_->references.emplace_back(std::move(queue), std::move(handler));
}

bool ProgressHandlers::isEmpty() const {
  const MutexLock lock(list_->mutex);
  return list_->references.empty();
}

void ProgressHandlers::call(const HTTPProgress& progress) const {
  // An executor's queue may run blocks at once, and a handler may add another.
  std::vector<velisand::ExecutorReference<HTTPProgress>> references;
  {
    const MutexLock lock(list_->mutex);
    references = list_->references;
  }
  for (const auto& reference : references) reference.execute(progress);
}

void ProgressHandlers::end() {
  // Destroyed without the lock: what a handler keeps alive may come back here as it goes.
  std::vector<velisand::ExecutorReference<HTTPProgress>> dropped;
  const MutexLock lock(list_->mutex);
  list_->hasEnded = true;
  dropped.swap(list_->references);
}

}  // namespace corvane::detail
