#include "Corvane/Transfers/TransferFuture.hpp"

#include <mutex>
#include <vector>

#include "Velisand/ExecutorReference.hpp"

namespace corvane::detail {

struct ProgressHandlers::List {
  mutable std::mutex mutex;
  std::vector<velisand::ExecutorReference<HTTPProgress>> references;
};

ProgressHandlers::ProgressHandlers() : list_(std::make_unique<List>()) {}

ProgressHandlers::~ProgressHandlers() = default;

void ProgressHandlers::append(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler) {
  if (!handler) return;
  const std::lock_guard lock(list_->mutex);
  list_->references.emplace_back(std::move(queue), std::move(handler));
}

bool ProgressHandlers::isEmpty() const {
  const std::lock_guard lock(list_->mutex);
  return list_->references.empty();
}

void ProgressHandlers::call(const HTTPProgress& progress) const {
  const std::lock_guard lock(list_->mutex);
  for (const auto& reference : list_->references) reference.execute(progress);
}

}  // namespace corvane::detail
