#include "Corvane/Transport/HTTPProgress.hpp"

#include <string_view>

#include "Corvane/Transport/Detail/ProgressHandlers.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane {

using platform::Progress;
using platform::ProgressObservation;

namespace {

std::int64_t byteCount(const Progress& progress, std::string_view key, std::int64_t otherwise) {
  const auto entry = progress.userInfo(key);
  return entry ? entry->integer().value_or(otherwise) : otherwise;
}

}  // namespace

std::int64_t HTTPProgress::completedBytes() const {
  return byteCount(*progress, platform::ProgressKey::byteCompletedCount, 0);
}

std::int64_t HTTPProgress::totalBytes() const {
  return byteCount(*progress, platform::ProgressKey::byteTotalCount, unknownTotal);
}

std::optional<double> HTTPProgress::percentCompleted() const { return progress->fractionCompleted(); }

ProgressObservation HTTPProgress::observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                          std::optional<platform::DispatchQueue> queue, HTTPProgressHandler handler) {
  if (!handler) return {};
  return task->progress()->observe(
      [queue = std::move(queue), handler = std::move(handler)](const std::shared_ptr<Progress>& current) {
        velisand::async(queue, [handler, current] { handler(HTTPProgress(current)); });
      });
}

void HTTPProgressHandler::operator()(const HTTPProgress& progress) const {
  if (handlers_) {
    handlers_->call(progress);
  } else {
    (*function_)(progress);
  }
}

// The handlers of a future come when they like; until then there is nothing to schedule.
bool HTTPProgressHandler::isListenedTo() const { return handlers_ ? !handlers_->isEmpty() : function_ != nullptr; }

}  // namespace corvane
