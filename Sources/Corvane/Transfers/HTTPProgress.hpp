#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Progress.hpp"

namespace platform {
class URLSessionTask;
}

namespace corvane {

/// How far a download or an upload has come: the bytes of the body that went over the network, and how many there
/// are in all. It shares the progress object of its task, so that it always tells the latest.
class CORVANE_API HTTPProgress {
 public:
  /// The total while the server has not announced one.
  static constexpr std::int64_t unknownTotal = -1;
  using Handler = std::function<void(HTTPProgress)>;

  explicit HTTPProgress(std::shared_ptr<platform::Progress> shared) : progress(std::move(shared)) {}

  /// 0 before the first byte.
  std::int64_t completedBytes() const;
  std::int64_t totalBytes() const;
  /// A fraction from 0 to 1, despite its name; 0 while the total is unknown. Always present.
  std::optional<double> percentCompleted() const;

  /// Calls the handler on the queue (absent: the main queue), asynchronously, once for each change that the task
  /// tells of: at most every 50 ms, and when it succeeded. Lasts as long as the value that is returned; that is
  /// empty when there is no handler.
  [[nodiscard]] static platform::ProgressObservation observe(const std::shared_ptr<platform::URLSessionTask>& task,
                                                             std::optional<platform::DispatchQueue> queue,
                                                             Handler handler);

  std::shared_ptr<platform::Progress> progress;
};

/// Called with the progress of a transfer, on the completion queue; empty when nobody wants to know. In order and
/// one at a time, whatever the queue; at most every 50 ms, which is as often as a person can see, and once when
/// the transfer succeeded; never after the completion was called. It must not throw, nor wait for the completion.
using HTTPProgressHandler = HTTPProgress::Handler;

}  // namespace corvane
