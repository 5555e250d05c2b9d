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
/// So the case alone does not say whether the last attempt succeeded: look at the last response's `result`. Where every
/// attempt fails there are `retryLimit` + 2, and the case is `partialFailure`. `HTTPRetryAttempting` says more.
template <class ResponseType>
class HTTPRetryResult {
  static_assert(HTTPResponsable<ResponseType>, "A result of retrying holds responses: HTTPRetryResult<DataResponse>");

 public:
  /// The response of a single attempt.
  using Response = ResponseType;
  /// What the attempts came to; see the table above.
  enum class Case { noFailure, partialFailure, totalFailure };

  /// One attempt, whatever came of it.
  static HTTPRetryResult noFailure(Response successful) { return {Case::noFailure, std::move(successful), {}}; }
  /// The last response, and those before it in their order.
  static HTTPRetryResult partialFailure(Response successful, std::vector<Response> failures) {
    return {Case::partialFailure, std::move(successful), std::move(failures)};
  }
  /// All responses in their order, the last one included.
  static HTTPRetryResult totalFailure(std::vector<Response> failures) {
    return {Case::totalFailure, std::nullopt, std::move(failures)};
  }

  /// Which of the three it is. It does not say whether the last attempt succeeded.
  Case which() const { return case_; }
  /// Null for `totalFailure`.
  const Response* successfulResponse() const { return successful_ ? &*successful_ : nullptr; }
  /// In the order in which the attempts completed; empty for `noFailure`.
  const std::vector<Response>& failedResponses() const { return failures_; }
  /// How many responses `failedResponses` holds.
  std::int64_t failCount() const { return static_cast<std::int64_t>(failures_.size()); }
  /// What the last attempt brought, whatever the case; null when there was none at all.
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
