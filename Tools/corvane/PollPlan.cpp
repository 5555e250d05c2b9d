#include "PollPlan.hpp"

#include <utility>

namespace {

struct Current {
  std::mutex mutex;
  std::shared_ptr<PollPlan> plan;
};

Current& theCurrent() {
  static Current& current = *new Current;
  return current;
}

}  // namespace

std::shared_ptr<PollPlan> PollPlan::current() {
  const std::lock_guard lock(theCurrent().mutex);
  return theCurrent().plan;
}

void PollPlan::makeCurrent(std::shared_ptr<PollPlan> plan) {
  const std::lock_guard lock(theCurrent().mutex);
  theCurrent().plan.swap(plan);
}

std::shared_ptr<ExchangeRecorder> PollPlan::begin() {
  const std::lock_guard lock(mutex_);
  if (hasEnded_ || (options_.polls && begun_ == *options_.polls)) return nullptr;
  return std::make_shared<ExchangeRecorder>(
      ExchangeRecorder{.number = ++begun_, .url = options_.urls.front(), .owner = shared_from_this()});
}

int PollPlan::begun() const {
  const std::lock_guard lock(mutex_);
  return begun_;
}

void PollPlan::tellOfStart(const std::shared_ptr<ExchangeRecorder>& recorder, std::function<void()> cancel) {
  corvane::DispatchQueue::main().async(
      [self = shared_from_this(), recorder, cancel = std::move(cancel)] { self->started_(recorder, cancel); });
}

void PollPlan::end() {
  const std::lock_guard lock(mutex_);
  hasEnded_ = true;
}
