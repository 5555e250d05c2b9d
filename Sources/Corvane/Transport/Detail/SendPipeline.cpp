#include "Corvane/Transport/Detail/SendPipeline.hpp"

#include <utility>

#include "Corvane/Detail/ModuleLogger.hpp"
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
#include "Vantorel/Logger.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

using platform::DispatchQueue;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URL;
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

/// One exchange on its way, with what its task is made of.
struct Sending {
  std::shared_ptr<SendExchange> exchange;
  std::shared_ptr<ProgressRelay> relay;
  SessionKey sessionKey;
  URLRequest request;
  /// The body of an upload that is sent from its file.
  std::optional<URL> bodyFile;
  std::optional<SendCancellation> cancellation;
};

using TaskMaker = std::shared_ptr<URLSessionTask> (*)(const std::shared_ptr<Sending>& sending, URLSession& session,
                                                      const ObservationSlot& slot);

void begin(const std::shared_ptr<Sending>& sending, TaskMaker makeTask);

/// The session was closed between the moment when it was chosen and that when its task began: nothing was sent.
bool wasTurnedAway(const std::optional<Error>& error) {
  return error && error->domain() == platform::NSURLErrorDomain &&
         error->userInfo().contains(platform::URLErrorKey::sessionWasClosed);
}

void beginAgain(const std::shared_ptr<Sending>& sending, TaskMaker makeTask) {
  try {
    begin(sending, makeTask);
  } catch (...) {
    report(sending->exchange, Error::current());
  }
}

template <TaskMaker makeTask>
URLSession::DataCompletion dataCompletion(std::shared_ptr<Sending> sending, ObservationSlot slot) {
  return [sending = std::move(sending), slot = std::move(slot)](
             std::optional<Data> data, std::shared_ptr<const URLResponse> response, std::optional<Error> error) {
    if (wasTurnedAway(error)) {
      beginAgain(sending, makeTask);
    } else {
      processTaskCompletion(sending->exchange, {std::move(data), std::nullopt, std::move(response), std::move(error)});
    }
    if (slot) slot->invalidate();
  };
}

template <TaskMaker makeTask>
URLSession::DownloadCompletion downloadCompletion(std::shared_ptr<Sending> sending, ObservationSlot slot) {
  return [sending = std::move(sending), slot = std::move(slot)](std::optional<TemporaryFile> received,
                                                                std::shared_ptr<const URLResponse> response,
                                                                std::optional<Error> error) {
    if (wasTurnedAway(error)) {
      beginAgain(sending, makeTask);
      if (slot) slot->invalidate();
      return;
    }
    TaskOutcome outcome{std::nullopt, std::nullopt, std::move(response), std::move(error)};
    try {
      if (received) {
        outcome.file = RelocatedFile::relocate(*std::move(received), outcome.response.get());
        outcome.url = outcome.file->url();
      }
    } catch (...) {
      outcome.error = Error::current();
    }
    processTaskCompletion(sending->exchange, std::move(outcome));
    if (slot) slot->invalidate();
  };
}

URLRequest permittedRequest(const SendExchange& exchange) {
  URLRequest request = exchange.urlRequest();
  const bool usesNetwork = !request.url.isFileURL();
  if (usesNetwork && Corvane::isNetworkForbidden) throw HTTPNetworkForbiddenError(request.httpMethod, request.url);
  return request;
}

std::shared_ptr<URLSessionTask> makeDataTask(const std::shared_ptr<Sending>& sending, URLSession& session,
                                             const ObservationSlot& slot) {
  return session.dataTask(sending->request, dataCompletion<makeDataTask>(sending, slot));
}

std::shared_ptr<URLSessionTask> makeDownloadTask(const std::shared_ptr<Sending>& sending, URLSession& session,
                                                 const ObservationSlot& slot) {
  return session.downloadTask(sending->request, downloadCompletion<makeDownloadTask>(sending, slot));
}

std::shared_ptr<URLSessionTask> makeUploadTask(const std::shared_ptr<Sending>& sending, URLSession& session,
                                               const ObservationSlot& slot) {
  auto completion = dataCompletion<makeUploadTask>(sending, slot);
  if (sending->bodyFile) return session.uploadTask(sending->request, *sending->bodyFile, std::move(completion));
  return session.uploadTask(sending->request, sending->request.httpBody.value_or(Data()), std::move(completion));
}

/// Registers the task, and starts it.
void begin(const std::shared_ptr<Sending>& sending, TaskMaker makeTask) {
  const auto session = HTTPService::shared().urlSession(sending->sessionKey);
  const ObservationSlot slot = slotFor(sending->relay);
  const auto task = makeTask(sending, *session, slot);
  if (slot) *slot = sending->relay->observe(task, sending->exchange->completionQueue());
  insertTaskIntoTaskManager(*sending->exchange, task);
  if (sending->cancellation) sending->cancellation->reaches<&URLSessionTask::cancel>(task);
  task->resume();
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

void send(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay, TaskMaker makeTask) {
  try {
    if (!exchange->shouldSend()) return;
    exchange->validate();
    auto sessionKey = exchange->sessionKey();
    const auto sending = std::make_shared<Sending>(Sending{.exchange = exchange,
                                                           .relay = std::move(relay),
                                                           .sessionKey = std::move(sessionKey),
                                                           .request = permittedRequest(*exchange),
                                                           .bodyFile = {},
                                                           .cancellation = SendCancellation::current()});
    if (makeTask == makeUploadTask) {
      sending->bodyFile = exchange->bodyFile();
      // What the request's headers speak of is what it built beside them.
      if (!sending->bodyFile && !sending->request.httpBody) sending->request.httpBody = exchange->bodyBytes();
    }
    begin(sending, makeTask);
  } catch (...) {
    report(std::move(exchange), Error::current());
  }
}

/// Debug output reports on a request; what it cannot read there is no outcome.
void printDebugOutput(const SendExchange& exchange, const TaskOutcome& received) {
  if (const auto error = errorThrownBy([&] { exchange.printDebugOutput(received); })) {
    moduleLogger().error("Debug output could not be made: " + error->message());
  }
}

/// What follows when the response was made: the request's hooks, debug output and the delivery. When it throws, nothing
/// was delivered.
void conclude(const std::shared_ptr<SendExchange>& exchange, const TaskOutcome& received, TaskOutcome outcome) {
  if (auto error = errorThrownBy([&] { exchange->validateResponse(); })) {
    outcome.error = std::move(error);
    exchange->makeResponse(outcome);
  }
  printDebugOutput(*exchange, received);
  if (outcome.file) exchange->keepsFile() ? outcome.file->keep() : outcome.file->remove();
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

void sendToNetwork(std::shared_ptr<SendExchange> exchange) { send(std::move(exchange), nullptr, makeDataTask); }

void download(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  send(std::move(exchange), std::move(relay), makeDownloadTask);
}

void upload(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay) {
  send(std::move(exchange), std::move(relay), makeUploadTask);
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
