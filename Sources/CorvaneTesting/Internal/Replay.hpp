#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "CorvaneTesting/ExchangeRecording.hpp"
#include "CorvaneTesting/Internal/RouteState.hpp"
#include "CorvaneTesting/MockNetwork.hpp"

namespace corvane::testkit::detail {

/// Responds as in a recording: each exchange once, in their order. On the network's queue.
class Replay final : public ResponseSource {
 public:
  Replay(ExchangeRecording recording, ReplayOptions options)
      : recording_(std::move(recording)), options_(options), isUsed_(recording_.exchanges.size()) {}

  std::optional<RouteResponse> take(const SentRequest& request) override;
  bool mightTake(const SentRequest& request) const override { return find(request).has_value(); }
  void responded(const SentRequest&) override {}

 private:
  /// Absent: there is none left for it.
  std::optional<std::size_t> find(const SentRequest& request) const;
  bool isFor(const SentRequest& request, const ExchangeRecord& exchange) const;

  const ExchangeRecording recording_;
  const ReplayOptions options_;
  std::vector<bool> isUsed_;
};

}  // namespace corvane::testkit::detail
