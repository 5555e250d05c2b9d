#include "CorvaneTesting/Internal/NetworkResponseAccess.hpp"

#include <netdb.h>

#include <cerrno>
#include <string>
#include <utility>

namespace corvane::testkit::detail {

using platform::detail::SourcedResponse;
using platform::detail::SourcedTimeout;
using platform::networking::Failure;
using platform::networking::FailureCause;

namespace {

Failure brokenConnection() { return {FailureCause::connectionLost, "the mock connection was lost", ECONNRESET}; }

bool hasContent(int status) { return status != 204 && status != 304; }

}  // namespace

SourcedResponse NetworkResponseAccess::failed(platform::Error error) {
  SourcedResponse sourced;
  sourced.problem = std::move(error);
  sourced.hasHead = false;
  return sourced;
}

std::optional<Failure> NetworkResponseAccess::failureBeforeSending(const NetworkResponse& response) {
  switch (response.failure_) {
    case NetworkResponse::Failure::cannotConnect:
      return Failure{FailureCause::cannotConnect, "the mock network refuses the connection", ECONNREFUSED};
    case NetworkResponse::Failure::hostNotFound:
      return Failure{FailureCause::nameNotFound, "the mock network has no such host", EAI_NONAME};
    default:
      return std::nullopt;
  }
}

Failure NetworkResponseAccess::connectTimeout() {
  return {FailureCause::cannotConnect, "the mock network made no connection in time", ETIMEDOUT};
}

SourcedResponse NetworkResponseAccess::sourced(const NetworkResponse& response) {
  if (response.error_) return failed(*response.error_);
  SourcedResponse sourced{.status = response.status_, .fields = response.fields_, .body = response.body_};
  const bool hasFraming = sourced.fields.contains("Content-Length") || sourced.fields.contains("Transfer-Encoding");
  if (!hasFraming && hasContent(response.status_)) {
    sourced.fields.add("Content-Length", std::to_string(response.body_.count()));
  }
  if (response.breaksAfter_) {
    sourced.problem = brokenConnection();
    sourced.bytesBeforeProblem = *response.breaksAfter_;
  }
  if (response.failure_ == NetworkResponse::Failure::none) return sourced;
  sourced.hasHead = false;
  if (response.failure_ == NetworkResponse::Failure::timeout) {
    sourced.problem = SourcedTimeout();
  } else {
    sourced.problem = failureBeforeSending(response).value_or(brokenConnection());
  }
  return sourced;
}

}  // namespace corvane::testkit::detail
