#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Metrics/TaskMetrics.hpp"
#include "Platform/Networking/Exchange.hpp"

namespace platform::detail {

/// What a load adds to what its exchange knows.
struct LoadFacts {
  std::optional<int> statusCode;
  /// Of the response's body.
  std::optional<std::uint64_t> decodedBytes;
};

/// Collects the metrics of a task. Loop side only.
class MetricsRecord {
 public:
  /// Once, before all else but `take`.
  void begin(networking::TimePoint now);
  bool hasBegun() const { return hasBegun_; }
  /// Why the next request goes out.
  void setCause(TransactionMetrics::Cause cause) { cause_ = cause; }
  void addRedirect();
  /// Adds the attempts of an exchange that is over. Does nothing for one that did not begin, and where there is no
  /// memory.
  void add(const networking::Exchange& exchange, const URLRequest& request, const LoadFacts& facts) noexcept;
  /// Adds a use of a stored response. Does nothing where there is no memory.
  void addFromCache(networking::TimePoint now, const URLRequest& request, int statusCode,
                    std::uint64_t bodyBytes) noexcept;
  /// The task is over. Null if it never began; empty where there is no memory.
  std::shared_ptr<const TaskMetrics> take(networking::TimePoint now) noexcept;

 private:
  TransactionMetrics transaction(const networking::ExchangeMetrics& exchange, const URLRequest& request) const;

  TaskMetrics& metrics();

  networking::TimePoint begun_{};
  std::chrono::system_clock::time_point start_{};
  /// Null until there is something to tell: tasks that wait take little memory.
  std::shared_ptr<TaskMetrics> metrics_;
  bool hasBegun_ = false;
  TransactionMetrics::Cause cause_ = TransactionMetrics::Cause::request;
};

}  // namespace platform::detail
