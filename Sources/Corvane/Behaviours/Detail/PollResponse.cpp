#include "Corvane/Behaviours/Detail/PollResponse.hpp"

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane::detail {

namespace {

// Logged and reported as they are; logs of different builds stay comparable.
constexpr const char* message = "Hit completion without some sort response. This is an invalid state.";
constexpr const char* retrySourceFile = "HTTPRetryAtempting";
constexpr const char* function = "sendFromPoll(completionQueue:completion:)";
constexpr int lineOfLog = 115;
constexpr int lineOfError = 116;

}  // namespace

platform::Error completionWithoutResponse() {
  moduleLogger().fault(message, std::nullopt, std::nullopt, retrySourceFile, function, lineOfLog);
  return HTTPUnknownError::completionWithoutResponseFromPolling(retrySourceFile, function, lineOfError);
}

}  // namespace corvane::detail
