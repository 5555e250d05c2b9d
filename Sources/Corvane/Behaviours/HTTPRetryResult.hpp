#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Responses/HTTPResponsable.hpp"

namespace corvane {

/// The summary of all attempts of a retrying send.
///
/// | case             | holds                        | when                                                           |
/// |------------------|------------------------------|----------------------------------------------------------------|
/// | `noFailure`      | one response                 | there was one attempt, whatever came of it                     |
/// | `partialFailure` | the last response, and those | the last attempt was neither the first nor number `retryLimit` |
/// |                  | before it                    | (counted from 0)                                               |
/// | `totalFailure`   | all responses                | attempt number `retryLimit` succeeded, or retrying was ended   |
///
/// So the case alone does not show whether the last attempt succeeded: check the last response's `result`. If every
/// attempt fails, there are `retryLimit` + 2 responses, and the case is `partialFailure`. `HTTPRetryAttempting` has the
/// details.
template <class ResponseType>
class HTTPRetryResult {
  static_assert(HTTPResponsable<ResponseType>, "A result of retrying holds responses: HTTPRetryResult<DataResponse>");

 public:
  /// The response of a single attempt.
  using Response = ResponseType;
  /// The outcome of the attempts; see the table above.
  enum class Case { noFailure, partialFailure, totalFailure };

  /// A single attempt, successful or not.
  static HTTPRetryResult noFailure(Response successful) { return {Case::noFailure, std::move(successful), {}}; }
  /// The last response, and those before it in their order.
  static HTTPRetryResult partialFailure(Response successful, std::vector<Response> failures) {
    return {Case::partialFailure, std::move(successful), std::move(failures)};
  }
  /// All responses in their order, the last one included.
  static HTTPRetryResult totalFailure(std::vector<Response> failures) {
    return {Case::totalFailure, std::nullopt, std::move(failures)};
  }

  /// The case. It does not show whether the last attempt succeeded.
  Case which() const { return case_; }
  /// Null for `totalFailure`.
  const Response* successfulResponse() const { return successful_ ? &*successful_ : nullptr; }
  /// In the order in which the attempts completed; empty for `noFailure`.
  const std::vector<Response>& failedResponses() const { return failures_; }
  /// The number of responses in `failedResponses`.
  std::int64_t failCount() const { return static_cast<std::int64_t>(failures_.size()); }
  /// The response of the last attempt, in every case; null when there was no attempt.
  const Response* lastResponse() const {
    if (successful_) return &*successful_;
    return failures_.empty() ? nullptr : &failures_.back();
  }
  /// The same for a result that is not needed any more.
  std::optional<Response> takeLastResponse() && {
    if (successful_ || failures_.empty()) return std::move(successful_);
    return std::move(failures_.back());
  }

 private:
  HTTPRetryResult(Case which, std::optional<Response> successful, std::vector<Response> failures)
      : case_(which), successful_(std::move(successful)), failures_(std::move(failures)) {}

  Case case_;
  std::optional<Response> successful_;
  std::vector<Response> failures_;
};

}  // namespace corvane
