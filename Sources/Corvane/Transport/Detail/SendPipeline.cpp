#include "Corvane/Transport/Detail/SendPipeline.hpp"

#include <utility>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPNetworkForbiddenError.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/Internal/ProgressRelay.hpp"
#include "Corvane/Transport/Internal/RelocatedFile.hpp"
#include "Corvane/Transport/SendCancellation.hpp"
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

using platform::Data;
using platform::TemporaryFile;
using platform::URLRequest;
using platform::URLSession;

/// Watches a task from before it runs until its outcome was processed.
using ObservationSlot = std::shared_ptr<platform::ProgressObservation>;

ObservationSlot slotFor(const std::shared_ptr<ProgressRelay>& relay) {
  return relay ? std::make_shared<platform::ProgressObservation>() : nullptr;
}

std::shared_ptr<URLSession> sessionFor(const SendExchange& exchange) {
  return HTTPService::shared().urlSession(exchange.sessionKey());
}

URLSession::DataCompletion dataCompletion(std::shared_ptr<SendExchange> exchange, ObservationSlot slot = nullptr) {
  return [exchange = std::move(exchange), slot = std::move(slot)](
             std::optional<Data> data, std::shared_ptr<const URLResponse> response, std::optional<Error> error) {
    processTaskCompletion(exchange, {std::move(data), std::nullopt, std::move(response), std::move(error)});
    if (slot) slot->invalidate();
  };
}

URLSession::DownloadCompletion downloadCompletion(std::shared_ptr<SendExchange> exchange, ObservationSlot slot) {
  return [exchange = std::move(exchange), slot = std::move(slot)](std::optional<TemporaryFile> received,
                                                                  std::shared_ptr<const URLResponse> response,
                                                                  std::optional<Error> error) {
    TaskOutcome outcome{std::nullopt, std::nullopt, std::move(response), std::move(error)};
    if (received) {
      outcome.file = RelocatedFile::relocate(*std::move(received), outcome.response.get());
      outcome.url = outcome.file->url();
    }
    processTaskCompletion(exchange, std::move(outcome));
    if (slot) slot->invalidate();
  };
}

URLRequest permittedRequest(const SendExchange& exchange) {
  URLRequest request = exchange.urlRequest();
  const bool usesNetwork = !request.url.isFileURL();
  if (usesNetwork && Corvane::isNetworkForbidden) throw HTTPNetworkForbiddenError(request.httpMethod, request.url);
  return request;
}

std::shared_ptr<URLSessionTask> makeDataTask(const std::shared_ptr<SendExchange>& exchange) {
  const auto session = sessionFor(*exchange);
  return session->dataTask(permittedRequest(*exchange), dataCompletion(exchange));
}

std::shared_ptr<URLSessionTask> makeDownloadTask(const std::shared_ptr<SendExchange>& exchange,
                                                 const std::shared_ptr<ProgressRelay>& relay) {
  const auto session = sessionFor(*exchange);
  const ObservationSlot slot = slotFor(relay);
  auto task = session->downloadTask(permittedRequest(*exchange), downloadCompletion(exchange, slot));
  if (slot) *slot = relay->observe(task, exchange->completionQueue());
  return task;
}

std::shared_ptr<URLSessionTask> makeUploadTask(const std::shared_ptr<SendExchange>& exchange,
                                               const std::shared_ptr<ProgressRelay>& relay) {
  URLRequest request = permittedRequest(*exchange);
  const auto session = sessionFor(*exchange);
  const ObservationSlot slot = slotFor(relay);
  std::shared_ptr<URLSessionTask> task;
  if (const auto file = exchange->bodyFile()) {
    task = session->uploadTask(std::move(request), *file, dataCompletion(exchange, slot));
  } else {
    // What the request's headers speak of is what it built beside them.
    std::optional<Data> body = std::move(request.httpBody);
    if (!body) body = exchange->bodyBytes();
    task = session->uploadTask(std::move(request), std::move(body).value_or(Data()), dataCompletion(exchange, slot));
  }
  if (slot) *slot = relay->observe(task, exchange->completionQueue());
  return task;
}

void deliver(std::shared_ptr<SendExchange> exchange) {
  removeFromTaskManager(*exchange);
  const auto& queue = exchange->completionQueue();
  velisand::async(queue, [exchange = std::move(exchange)] { exchange->deliver(); });
}

[[noreturn]] void throwMapped(const Error& error) {
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

SendExchange::~SendExchange() = default;

namespace {

template <class TaskMaker>
void send(std::shared_ptr<SendExchange> exchange, TaskMaker makeTask) {
  std::shared_ptr<URLSessionTask> task;
  try {
    if (!exchange->shouldSend()) return;
    exchange->validate();
    task = makeTask(exchange);
    insertTaskIntoTaskManager(*exchange, task);
    if (const auto cancellation = SendCancellation::current()) cancellation->reaches<&URLSessionTask::cancel>(task);
  } catch (...) {
    report(std::move(exchange), Error::current());
    return;
  }
  task->resume();
}

void conclude(std::shared_ptr<SendExchange> exchange, const TaskOutcome& received, TaskOutcome outcome) {
  exchange->makeResponse(outcome);
  if (auto error = errorThrownBy([&] { exchange->validateResponse(); })) {
    outcome.error = std::move(error);
    exchange->makeResponse(outcome);
  }
  exchange->printDebugOutput(received);
  if (outcome.file) exchange->keepsFile() ? outcome.file->keep() : outcome.file->remove();
  deliver(std::move(exchange));
}

}  // namespace

void sendToNetwork(std::shared_ptr<SendExchange> exchange) { send(std::move(exchange), makeDataTask); }

void download(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  send(std::move(exchange), [&](const std::shared_ptr<SendExchange>& sent) { return makeDownloadTask(sent, relay); });
}

void upload(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  send(std::move(exchange), [&](const std::shared_ptr<SendExchange>& sent) { return makeUploadTask(sent, relay); });
}

void processTaskCompletion(std::shared_ptr<SendExchange> exchange, TaskOutcome outcome) {
  TaskOutcome received = outcome;
  if (auto error = errorThrownBy([&] { check(*exchange, received); })) outcome.error = std::move(error);
  concludeExchange(std::move(exchange), std::move(received), std::move(outcome));
}

void concludeExchange(std::shared_ptr<SendExchange> exchange, TaskOutcome received, TaskOutcome outcome) {
  if (!exchange->isLongToMake(outcome)) {
    conclude(std::move(exchange), received, std::move(outcome));
    return;
  }
  platform::DispatchQueue::global().async(
      [exchange = std::move(exchange), received = std::move(received), outcome = std::move(outcome)]() mutable {
        conclude(std::move(exchange), received, std::move(outcome));
      });
}

void check(const SendExchange& exchange, const TaskOutcome& outcome) {
  if (outcome.error) throwMapped(*outcome.error);
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

void insertTaskIntoTaskManager(const SendExchange& exchange, std::shared_ptr<URLSessionTask> task) {
  if (const auto uuid = exchange.uuid()) TaskManager::shared().insert(std::move(task), *uuid);
}

void removeFromTaskManager(const SendExchange& exchange) {
  if (const auto uuid = exchange.uuid()) TaskManager::shared().removeTask(*uuid);
}

}  // namespace corvane::detail
