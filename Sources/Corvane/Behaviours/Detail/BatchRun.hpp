#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "Corvane/Behaviours/HTTPBatchMode.hpp"
#include "Corvane/Transport/Detail/SendBounds.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"

namespace corvane::detail {

/// One batch on its way. Lives as long as a response of it may come. The typed shell (`TypedBatchRun`) knows requests
/// and responses.
class CORVANE_API BatchRun : public std::enable_shared_from_this<BatchRun> {
 public:
  virtual ~BatchRun();
  BatchRun(const BatchRun&) = delete;
  BatchRun& operator=(const BatchRun&) = delete;

  /// The batch must not be empty.
  void start(HTTPBatchMode mode);

 protected:
  BatchRun(std::optional<platform::DispatchQueue> queue, SharedBounds bounds)
      : queue_(std::move(queue)), bounds_(std::move(bounds)) {}

  const std::optional<platform::DispatchQueue>& completionQueue() const { return queue_; }
  /// Of every request.
  const SharedBounds& bounds() const { return bounds_; }

  virtual std::size_t count() const = 0;
  /// In seconds.
  virtual double timeoutInterval(std::size_t index) const = 0;
  /// Sends one; its response is kept and told, and then `whenDone` called.
  virtual void send(std::size_t index, platform::Block whenDone) = 0;
  /// The same for a request that cannot be sent: its response holds the error.
  virtual void fail(std::size_t index, platform::Error error, platform::Block whenDone) = 0;
  /// Keeps a response that says so.
  virtual void keepTimeout() = 0;
  /// Calls the completion with what was kept.
  virtual void complete() = 0;

 private:
  const std::optional<platform::DispatchQueue> queue_;
  const SharedBounds bounds_;

  friend class ParallelBatch;
  friend class SerialBatches;
};

}  // namespace corvane::detail
