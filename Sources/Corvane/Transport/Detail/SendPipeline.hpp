#pragma once

#include <memory>
#include <optional>
#include <typeinfo>

#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Transport/Detail/SendBounds.hpp"
#include "Corvane/Transport/SessionKey.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform {
struct DownloadOptions;
class URLSessionTask;
struct TaskMetrics;
}  // namespace platform

namespace corvane {
class HTTPProgress;
class HTTPProgressHandler;
struct HTTPClientConfiguration;
}  // namespace corvane

namespace corvane::detail {

class ProgressRelay;
class RelocatedFile;

/// What a finished task hands back.
struct TaskOutcome {
  std::optional<platform::Data> data;
  std::optional<platform::URL> url;
  std::shared_ptr<const platform::URLResponse> response;
  std::optional<platform::Error> error;
  /// The file at `url`, where that is a downloaded one.
  std::shared_ptr<RelocatedFile> file = nullptr;
  /// Null where no task began.
  std::shared_ptr<const platform::TaskMetrics> metrics = nullptr;
  /// What led to it, where interceptors may have changed the request; else null.
  std::shared_ptr<const platform::URLRequest> sent = nullptr;
};

/// One request on its way, seen by the pipeline: a copy of the request, the caller's completion, and in the
/// end the response. The typed shell (`TypedExchange`) answers for the request's own type.
class CORVANE_API SendExchange {
 public:
  virtual ~SendExchange();

  // The request's properties and hooks. Each may throw what the request's own code throws.
  virtual bool shouldSend() const = 0;
  virtual void validate() const = 0;
  virtual SessionKey sessionKey() const = 0;
  virtual platform::URLRequest urlRequest() const = 0;
  virtual bool isAcceptable(HTTPStatus status) const = 0;
  /// The file that is the body of an upload; absent for a body in memory.
  virtual std::optional<platform::URL> bodyFile() const = 0;
  /// The body in memory, encoded; absent for a request without one.
  virtual std::optional<platform::Data> bodyBytes() const = 0;
  /// Fills in what is to become of the file of a download.
  virtual void describeDownload(platform::DownloadOptions& options) const = 0;
  /// The type of the request.
  virtual const std::type_info& requestType() const = 0;
  /// Absent for a request that cannot be cancelled.
  virtual std::optional<platform::UUID> uuid() const = 0;

  /// Whether building the response takes so long that others must not wait for it.
  virtual bool isLongToMake(const TaskOutcome& outcome) const = 0;
  /// Builds the response, in place of one that was built before.
  virtual void makeResponse(const TaskOutcome& outcome) = 0;
  /// Whether the response built last has handed a downloaded file on.
  virtual bool keepsFile() const = 0;
  /// Whether the response built last is a failure.
  virtual bool hasFailed() const = 0;
  /// The request's judgement on the response built last.
  virtual void validateResponse() const = 0;
  virtual void printDebugOutput(const TaskOutcome& outcome) const = 0;

  /// Where the caller wants to be called; absent: the main queue.
  virtual const std::optional<platform::DispatchQueue>& completionQueue() const = 0;
  /// What ends the exchange early.
  virtual const SendBounds& bounds() const = 0;
  /// Calls the caller's completion with the response built last. Once.
  virtual void deliver() = 0;

  /// What it is sent with. Set before its task begins; null where nothing was set for it.
  std::shared_ptr<const HTTPClientConfiguration> client;
};

// The route of one data request. Every outcome, an exception from a hook included, reaches the completion as a
// response; nothing is thrown to the caller of `send`. A completion is called exactly once, on its queue, and never
// before the call that caused it has returned.

/// Validates, chooses a session, builds the URL request, and starts its task. Any thread. A request that
/// should not be sent ends here, silently: its completion is never called.
CORVANE_API void sendToNetwork(std::shared_ptr<SendExchange> exchange);

/// Null for an empty handler.
CORVANE_API std::shared_ptr<ProgressRelay> progressRelay(HTTPProgressHandler handler);
/// Calls the handler on the queue, asynchronously, unless it has ended by then.
CORVANE_API void tell(const std::shared_ptr<ProgressRelay>& relay, const std::optional<platform::DispatchQueue>& queue,
                      const HTTPProgress& progress);
/// No more progress: `whenQuiet` is called when the handler is not being called.
CORVANE_API void end(ProgressRelay& relay, platform::Block whenQuiet);

/// What follows when the task is done: judges the outcome, builds and validates the response, prints debug
/// output, and delivers. Runs on the queue of the caller, which is the session's delegate queue, up to the
/// delivery; or on the global queue, if the response is long to make.
CORVANE_API void processTaskCompletion(std::shared_ptr<SendExchange> exchange, TaskOutcome outcome);

/// The same for an outcome that is judged already: its error is what makes it a failure. `received` is what debug
/// output tells of.
CORVANE_API void concludeExchange(std::shared_ptr<SendExchange> exchange, TaskOutcome received, TaskOutcome outcome);

/// Throws what makes the outcome a failure: the task's error in the library's terms, or an unacceptable status.
CORVANE_API void check(const SendExchange& exchange, const TaskOutcome& outcome);

/// Delivers a response that holds nothing but an error. Throws `std::bad_alloc` where there is no memory even for that,
/// and has delivered nothing then.
CORVANE_API void report(std::shared_ptr<SendExchange> exchange, platform::Error error);

/// The status of an HTTP response, `unknown` for a code without a name; absent for any other response or none.
CORVANE_API std::optional<HTTPStatus> httpStatus(const platform::URLResponse* response);

CORVANE_API void insertTask(std::shared_ptr<platform::URLSessionTask> task, const platform::UUID& uuid);
CORVANE_API void removeTask(const platform::UUID& uuid);
CORVANE_API void insertTaskIntoTaskManager(const SendExchange& exchange,
                                           std::shared_ptr<platform::URLSessionTask> task);
CORVANE_API void removeFromTaskManager(const SendExchange& exchange);

}  // namespace corvane::detail
