#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "CorvaneTesting/ExchangeRecording.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"

namespace corvane::testkit::detail {

/// Keeps the exchanges of a `MockNetwork` with the network. Any thread.
class Recorder : public std::enable_shared_from_this<Recorder> {
 public:
  explicit Recorder(HTTPRedaction redaction) : redaction_(std::move(redaction)) {}

  /// What listens to the next exchange.
  std::shared_ptr<platform::detail::ExchangeTap> tap(const platform::detail::SourcedRequest& request);
  /// The exchanges that are over.
  ExchangeRecording recording() const;

 private:
  class Tap;

  std::size_t reserve();
  void keep(std::size_t place, ExchangeRecord record);

  const HTTPRedaction redaction_;
  mutable platform::detail::Mutex mutex_;
  /// Absent: still under way, or cancelled.
  std::vector<std::optional<ExchangeRecord>> records_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::testkit::detail
