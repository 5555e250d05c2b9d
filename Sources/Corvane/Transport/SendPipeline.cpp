#include "Corvane/Transport/SendPipeline.hpp"

#include <utility>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Loading/URLSession.hpp"
#include "Platform/Trap.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

using platform::Error;
using platform::HTTPURLResponse;
using platform::URLResponse;
using platform::URLSessionTask;

namespace {

std::shared_ptr<URLSessionTask> makeTask(const std::shared_ptr<Exchange>& exchange) {
  const auto session = HTTPService::shared().urlSession(exchange->sessionKey());
  return session->dataTask(
      exchange->urlRequest(), [exchange](std::optional<platform::Data> data,
                                         std::shared_ptr<const URLResponse> response, std::optional<Error> error) {
        processTaskCompletion(exchange, {std::move(data), std::nullopt, std::move(response), std::move(error)});
      });
}

void deliver(std::shared_ptr<Exchange> exchange) {
  removeFromTaskManager(*exchange);
  const auto& queue = exchange->completionQueue();
  velisand::async(queue, [exchange = std::move(exchange)] { exchange->deliver(); });
}

[[noreturn]] void throwInOurTerms(const Error& error) {
  if (error.domain() == platform::kCFErrorDomainCFNetwork) {
    const std::int64_t code = error.code();
    if (!std::in_range<std::int32_t>(code)) platform::trap("A CFNetwork error code does not fit in 32 bits");
    throw CFNetworkErrors(static_cast<std::int32_t>(code), error);
  }
  const bool wasCancelled =
      error.domain() == platform::NSURLErrorDomain && error.code() == platform::URLErrorCode::cancelled;
  if (wasCancelled) throw HTTPResponseError::taskCancelled();
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

Exchange::~Exchange() = default;

void sendToNetwork(std::shared_ptr<Exchange> exchange) {
  std::shared_ptr<URLSessionTask> task;
  try {
    if (!exchange->shouldSend()) return;
    exchange->validate();
    task = makeTask(exchange);
    insertTaskIntoTaskManager(*exchange, task);
  } catch (...) {
    report(std::move(exchange), Error::current());
    return;
  }
  task->resume();
}

namespace {

void concludeExchange(std::shared_ptr<Exchange> exchange, const TaskOutcome& received, TaskOutcome outcome) {
  exchange->makeResponse(outcome);
  if (auto error = errorThrownBy([&] { exchange->validateResponse(); })) {
    outcome.error = std::move(error);
    exchange->makeResponse(outcome);
  }
  exchange->printDebugOutput(received);
  deliver(std::move(exchange));
}

}  // namespace

void processTaskCompletion(std::shared_ptr<Exchange> exchange, TaskOutcome outcome) {
  TaskOutcome received = outcome;
  if (auto error = errorThrownBy([&] { check(*exchange, received); })) outcome.error = std::move(error);
  if (!exchange->isLongToMake(outcome)) {
    concludeExchange(std::move(exchange), received, std::move(outcome));
    return;
  }
  platform::DispatchQueue::global().async(
      [exchange = std::move(exchange), received = std::move(received), outcome = std::move(outcome)]() mutable {
        concludeExchange(std::move(exchange), received, std::move(outcome));
      });
}

void check(const Exchange& exchange, const TaskOutcome& outcome) {
  if (outcome.error) throwInOurTerms(*outcome.error);
  const auto status = httpStatus(outcome.response.get());
  if (status && exchange.isAcceptable(*status)) return;
  throw HTTPResponseError::unacceptableStatus(status.value_or(HTTPStatus::unknown));
}

void report(std::shared_ptr<Exchange> exchange, Error error) {
  exchange->makeResponse({.data = {}, .url = {}, .response = nullptr, .error = std::move(error)});
  deliver(std::move(exchange));
}

std::optional<HTTPStatus> httpStatus(const URLResponse* response) {
  const auto* httpResponse = dynamic_cast<const HTTPURLResponse*>(response);
  if (!httpResponse) return std::nullopt;
  return status(*httpResponse);
}

void insertTaskIntoTaskManager(const Exchange& exchange, std::shared_ptr<URLSessionTask> task) {
  if (const auto uuid = exchange.uuid()) TaskManager::shared().insert(std::move(task), *uuid);
}

void removeFromTaskManager(const Exchange& exchange) {
  if (const auto uuid = exchange.uuid()) TaskManager::shared().removeTask(*uuid);
}

}  // namespace corvane::detail
