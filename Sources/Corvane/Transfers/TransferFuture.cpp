#include "Corvane/Transfers/TransferFuture.hpp"

#include <mutex>
#include <vector>

#include "Velisand/ExecutorReference.hpp"

namespace corvane::detail {

struct ProgressHandlers::List {
  mutable std::mutex mutex;
  std::vector<velisand::ExecutorReference<HTTPProgress>> references;
  bool hasEnded = false;
};

ProgressHandlers::ProgressHandlers() : list_(std::make_unique<List>()) {}

ProgressHandlers::~ProgressHandlers() = default;

void ProgressHandlers::append(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler) {
  if (!handler) return;
  const std::lock_guard lock(list_->mutex);
  if (!list_->hasEnded) list_->references.emplace_back(std::move(queue), std::move(handler));
}

bool ProgressHandlers::isEmpty() const {
  const std::lock_guard lock(list_->mutex);
  return list_->references.empty();
}

void ProgressHandlers::call(const HTTPProgress& progress) const {
  // A queue of somebody's own may run blocks at once, and a handler may add another.
  std::vector<velisand::ExecutorReference<HTTPProgress>> references;
  {
    const std::lock_guard lock(list_->mutex);
    references = list_->references;
  }
  for (const auto& reference : references) reference.execute(progress);
}

void ProgressHandlers::end() {
  // Destroyed without the lock: what a handler keeps alive may come back here as it goes.
  std::vector<velisand::ExecutorReference<HTTPProgress>> dropped;
  const std::lock_guard lock(list_->mutex);
  list_->hasEnded = true;
  dropped.swap(list_->references);
}

}  // namespace corvane::detail
