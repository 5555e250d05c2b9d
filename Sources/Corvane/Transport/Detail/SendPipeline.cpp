#include "Corvane/Transport/Detail/SendPipeline.hpp"

#include <optional>
#include <utility>

#include "Corvane/DebugOutput/Detail/Redactions.hpp"
#include "Corvane/Detail/ModuleLogger.hpp"
#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/Transport/HTTPClientConfiguration.hpp"
#include "Corvane/Transport/Internal/InterceptedKinds.hpp"
#include "Corvane/Transport/Internal/RelocatedFile.hpp"
#include "Corvane/Transport/Internal/Sending.hpp"
#include "Corvane/Transport/Internal/SentOutput.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Trap.hpp"
#include "Vantorel/Logger.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

using platform::DispatchQueue;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URLResponse;
using platform::URLSessionTask;

namespace {

void deliver(std::shared_ptr<SendExchange> exchange) {
  removeFromTaskManager(*exchange);
  const auto& queue = exchange->completionQueue();
  velisand::async(queue, [exchange = std::move(exchange)] { exchange->deliver(); });
}

[[noreturn]] void throwMapped(const Error& error, const SendBounds& bounds) {
  if (error.domain() == platform::kCFErrorDomainCFNetwork) {
    const std::int64_t code = error.code();
    if (!std::in_range<std::int32_t>(code)) platform::trap("A CFNetwork error code does not fit in 32 bits");
    throw CFNetworkErrors(static_cast<std::int32_t>(code), error);
  }
  const bool wasCancelled =
      error.domain() == platform::NSURLErrorDomain && error.code() == platform::URLErrorCode::cancelled;
  if (wasCancelled) throw bounds.error(&error);
  throw error;
}

// The error that takes the place of the task's own, if there is one.
template <class Judgement>
std::optional<Error> errorThrownBy(Judgement judgement) {
  try {
    judgement();
    return std::nullopt;
  } catch (...) {
    return Error::current();
  }
}

}  // namespace

SendExchange::~SendExchange() = default;

namespace {

class SendingOfData final : public Sending {
 public:
  using Sending::Sending;

  static void intercept(Parts parts) {
    Interception::start(std::move(parts), std::make_unique<InterceptedKindOf<SendingOfData, HTTPExchangeKind::data>>());
  }

 private:
  std::shared_ptr<URLSessionTask> makeTask(platform::URLSession& session) override {
    return session.dataTask(request(), dataCompletion());
  }
};

/// Debug output reports on a request; what it cannot read there is no outcome.
void printDebugOutput(const SendExchange& exchange, const TaskOutcome& received) {
  if (Corvane::verbosity == HTTPVerbosityLevel::none) return;
  const auto print = [&] {
    const RedactionScope redacting(exchange.sessionKey().sessionConfigurationIdentifier,
                                   exchange.client ? &exchange.client->redaction : nullptr);
    received.sent ? printSent(exchange, received) : exchange.printDebugOutput(received);
  };
  if (const auto error = errorThrownBy(print)) {
    moduleLogger().error("Debug output could not be made: " + error->message());
  }
}

/// A file at the caller's destination is there after a success, whatever the response was made of; any other file
/// belongs to the response, or to nobody.
void settle(RelocatedFile& file, const SendExchange& exchange) {
  const bool isKept = file.isAtDestination() ? !exchange.hasFailed() : exchange.keepsFile();
  isKept ? file.keep() : file.remove();
}

/// What follows when the response was made: the request's hooks, debug output and the delivery. When it throws, nothing
/// was delivered.
void conclude(const std::shared_ptr<SendExchange>& exchange, const TaskOutcome& received, TaskOutcome outcome) {
  if (auto error = errorThrownBy([&] { exchange->validateResponse(); })) {
    outcome.error = std::move(error);
    exchange->makeResponse(outcome);
  }
  printDebugOutput(*exchange, received);
  if (outcome.file) settle(*outcome.file, *exchange);
  deliver(exchange);
}

void concludeOrReport(const std::shared_ptr<SendExchange>& exchange, const TaskOutcome& received, TaskOutcome outcome) {
  try {
    conclude(exchange, received, std::move(outcome));
  } catch (...) {
    report(exchange, Error::current());
  }
}

}  // namespace

void sendToNetwork(std::shared_ptr<SendExchange> exchange) {
  Sending::start<SendingOfData>(std::move(exchange), nullptr);
}

void processTaskCompletion(std::shared_ptr<SendExchange> exchange, TaskOutcome outcome) {
  try {
    TaskOutcome received = outcome;
    if (auto error = errorThrownBy([&] { check(*exchange, received); })) outcome.error = std::move(error);
    concludeExchange(exchange, std::move(received), std::move(outcome));
  } catch (...) {
    report(std::move(exchange), Error::current());
  }
}

void concludeExchange(std::shared_ptr<SendExchange> exchange, TaskOutcome received, TaskOutcome outcome) {
  if (!exchange->isLongToMake(outcome)) {
    exchange->makeResponse(outcome);
    conclude(exchange, received, std::move(outcome));
    return;
  }
  // Made aside, so that nobody waits for it; the hooks of requests never overlap on this queue, so they come back.
  DispatchQueue::global().async([queue = DispatchQueue::current().value_or(DispatchQueue::global()),
                                 exchange = std::move(exchange), received = std::move(received),
                                 outcome = std::move(outcome)]() mutable {
    try {
      exchange->makeResponse(outcome);
      queue.async([exchange, received = std::move(received), outcome = std::move(outcome)]() mutable {
        concludeOrReport(exchange, received, std::move(outcome));
      });
    } catch (...) {
      report(std::move(exchange), Error::current());
    }
  });
}

void check(const SendExchange& exchange, const TaskOutcome& outcome) {
  if (outcome.error) throwMapped(*outcome.error, exchange.bounds());
  const auto status = httpStatus(outcome.response.get());
  if (status && exchange.isAcceptable(*status)) return;
  throw HTTPResponseError::unacceptableStatus(status.value_or(HTTPStatus::unknown));
}

void report(std::shared_ptr<SendExchange> exchange, Error error) {
  exchange->makeResponse({.data = {}, .url = {}, .response = nullptr, .error = std::move(error)});
  deliver(std::move(exchange));
}

std::optional<HTTPStatus> httpStatus(const URLResponse* response) {
  const auto* httpResponse = dynamic_cast<const HTTPURLResponse*>(response);
  if (!httpResponse) return std::nullopt;
  return status(*httpResponse);
}

void insertTask(std::shared_ptr<URLSessionTask> task, const platform::UUID& uuid) {
  TaskManager::shared().insert(std::move(task), uuid);
}

void removeTask(const platform::UUID& uuid) { TaskManager::shared().removeTask(uuid); }

void insertTaskIntoTaskManager(const SendExchange& exchange, std::shared_ptr<URLSessionTask> task) {
  if (const auto uuid = exchange.uuid()) insertTask(std::move(task), *uuid);
}

void removeFromTaskManager(const SendExchange& exchange) {
  if (const auto uuid = exchange.uuid()) removeTask(*uuid);
}

}  // namespace corvane::detail
