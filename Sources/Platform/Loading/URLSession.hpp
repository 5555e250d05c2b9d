#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/Progress.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/CacheConfiguration.hpp"
#include "Platform/Loading/ConnectionConfiguration.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/RedirectConfiguration.hpp"
#include "Platform/Loading/TLSConfiguration.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Platform/Loading/URLResponseStream.hpp"
#include "Platform/Loading/URLSessionDelegate.hpp"
#include "Platform/Loading/URLSessionObserver.hpp"

namespace platform {

namespace detail {
class SessionCore;
struct TaskPlan;
}  // namespace detail
struct TaskMetrics;
class HTTPCookieStorage;

/// How a session behaves; copied when the session is made.
///
///     auto configuration = URLSessionConfiguration::ephemeral();
///     configuration.httpMaximumConnectionsPerHost = 2;
struct CORVANE_API URLSessionConfiguration {
  /// Nothing is kept on disk: cookies and stored responses are kept in memory.
  static URLSessionConfiguration ephemeral() { return {}; }

  /// Whether a task waits, instead of failing, while the machine has no network that leads to the host. It waits
  /// without a limit, whatever its time-out, and tries again when the system's network changes. Default: false.
  bool waitsForConnectivity = false;
  /// A task fails with -1103 when its body is kept in memory and exceeds this many bytes, decoded. Default: 1 GiB.
  std::int64_t maximumBodyBytes = std::int64_t{1} << 30;
  /// The maximum number of connections to one host; further tasks wait in order. 0, the default: limited only by the
  /// number of transfers, which starts at 64 and grows while the servers are the bottleneck.
  int httpMaximumConnectionsPerHost = 0;
  /// Whether cookies are stored from responses and sent with later requests of this session. Default: true.
  bool httpShouldSetCookies = true;
  /// Where they are stored, also for other sessions that are made with it. Null, the default: in one of the session's
  /// own, as long as the session exists.
  std::shared_ptr<HTTPCookieStorage> httpCookieStorage;
  /// How it caches responses. Default: in up to 4 MiB of memory.
  CacheConfiguration cache;
  /// Which redirects are followed.
  RedirectConfiguration redirects;
  /// How it connects.
  ConnectionConfiguration connections;
  /// How its connections are secured.
  TLSConfiguration tls;
  /// Decides who is told what the session's tasks do, while they do it. Null, the default: nobody.
  std::shared_ptr<URLSessionObserver> observer;

  /// Empty when a session can be made with it, otherwise a sentence that names the fault: a negative number, or what
  /// `connections` or `tls` have a problem with.
  std::string problem() const;
};

/// One load. Made suspended; `resume` starts it. All operations may be called from any thread.
///
///     task->resume();
///     if (task->state() == URLSessionTask::State::running) task->cancel();
class CORVANE_API URLSessionTask {
 public:
  /// The state of a task.
  enum class State { running = 0, suspended = 1, canceling = 2, completed = 3 };

  virtual ~URLSessionTask();
  URLSessionTask(const URLSessionTask&) = delete;
  URLSessionTask& operator=(const URLSessionTask&) = delete;

  /// Starts the task; further calls do nothing.
  virtual void resume() = 0;
  /// Ends the task with the error "NSURLErrorDomain" -999, delivered on the delegate queue like every completion.
  /// Returns at once. Does nothing after the task has completed. A task that was never resumed completes, too.
  virtual void cancel() = 0;
  /// The state at this moment. A task is `canceling` from `cancel` until its completion has been called.
  virtual State state() const = 0;
  /// The request that the task was made with, before redirects.
  virtual const URLRequest& originalRequest() const = 0;
  /// Counts the bytes of the body that go over the network: of the request in an upload, of the response in any other
  /// task. Of a download that goes on with what is kept it counts the whole file, from what is there. It is updated at
  /// most every 50 ms, when bytes were transferred, and at the end of a task that succeeded. The network loop updates
  /// it, so observers run on the loop's thread: they must be quick.
  virtual std::shared_ptr<Progress> progress() = 0;
  /// Unique within the process.
  virtual std::uint64_t taskIdentifier() const = 0;
  /// What the task did and when (TaskMetrics.hpp). Null until the task is over, which it is when its completion is
  /// called, or when the body of a stream tells its end; and of a task that could not begin.
  virtual std::shared_ptr<const TaskMetrics> metrics() const;

 protected:
  URLSessionTask() = default;
};

/// Loads URLs. Its tasks share connections, cookies and a configuration. Thread-safe.
///
/// A session ends when its tasks have completed after it was invalidated, or after its last handle was released. It
/// keeps its delegate until then.
///
///     const auto session = URLSession::make(URLSessionConfiguration::ephemeral(), nullptr, DispatchQueue("session"));
///     const auto task = session->dataTask(URLRequest(url), [](auto data, auto response, auto error) { … });
///     task->resume();
class CORVANE_API URLSession : public std::enable_shared_from_this<URLSession> {
 public:
  /// Called exactly once for each task, on the delegate queue: the body (present, possibly empty, when the exchange
  /// completed; the bytes that had arrived, if any, when it failed), the response if its head arrived, and the error.
  /// An error means that the body is not complete.
  using DataCompletion =
      UniqueFunction<void(std::optional<Data>, std::shared_ptr<const URLResponse>, std::optional<Error>)>;

  /// The same for a download. In place of the body, it gets a file with the decoded body if the exchange completed,
  /// whatever its status. The file is removed with the `TemporaryFile`, unless you move it or call `keep`.
  using DownloadCompletion =
      UniqueFunction<void(std::optional<TemporaryFile>, std::shared_ptr<const URLResponse>, std::optional<Error>)>;

  /// Called exactly once for each stream task, on the delegate queue, as soon as the final head is here: the body,
  /// which is read from now on and tells how it ends, and the response. Where there is no such head, or its content
  /// coding is not known, there is an error in place of the body, beside the response if one arrived.
  using StreamCompletion = UniqueFunction<void(std::shared_ptr<URLResponseStream>, std::shared_ptr<const URLResponse>,
                                               std::optional<Error>)>;

  /// A session that calls its delegate (may be null) and its completions on that queue, which must be serial. Throws an
  /// `Error` ("NSOSStatusErrorDomain", `OSStatus::param`) for a configuration with a problem.
  static std::shared_ptr<URLSession> make(URLSessionConfiguration configuration,
                                          std::shared_ptr<URLSessionDelegate> delegate, DispatchQueue delegateQueue);
  ~URLSession();
  URLSession(const URLSession&) = delete;
  URLSession& operator=(const URLSession&) = delete;

  /// The configuration that the session was made with.
  const URLSessionConfiguration& configuration() const;
  /// A human-readable name; absent by default.
  std::optional<std::string> sessionDescription() const;
  /// Absent removes the name.
  void setSessionDescription(std::optional<std::string> description);

  /// A task that loads an http, https or file URL into memory. On an invalidated session the task fails with
  /// "NSURLErrorDomain" -999 when resumed.
  std::shared_ptr<URLSessionTask> dataTask(URLRequest request, DataCompletion completion);
  /// A task that loads an http, https or file URL into a file in the temporary directory, which is written as the bytes
  /// arrive. The partial file of a task that fails or is cancelled is removed. Errors in addition to those of a data
  /// task: -3000 (the file cannot be created), -3002 and -3003 (it cannot be written, for example on a full disk).
  std::shared_ptr<URLSessionTask> downloadTask(URLRequest request, DownloadCompletion completion);
  /// The same with a destination, an expected digest, or both. The file that the completion gets is then the one at the
  /// destination, unless the response has none (`DownloadOptions::isForDestination`). Errors in addition: -3000 before
  /// anything is sent, when nothing can be saved there or something is there already, or when another user may have
  /// written the partial file; -3001 when another download
  /// writes the same partial file; -3005 when the complete file cannot be moved to its destination, since another one
  /// came there meanwhile; -1017 and -1016 when the server sends another part of the file than the one it was asked
  /// for, or a part (206) where the request has no "Range"; `DigestMismatch`. A message names the path.
  std::shared_ptr<URLSessionTask> downloadTask(URLRequest request, DownloadOptions options,
                                               DownloadCompletion completion);
  /// A task that sends a request with the body that it has, and counts the bytes of that body.
  std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, DataCompletion completion);
  /// A task that loads an http or https URL, and hands the body out while it arrives. The task is under way until the
  /// body has arrived or was let go of, which cancels it. There is no limit on the body but that of the request. A file
  /// URL fails with -1002.
  std::shared_ptr<URLSessionTask> streamTask(URLRequest request, StreamCompletion completion);
  /// A task that sends a request with these bytes as its body.
  std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, Data body, DataCompletion completion);
  /// A task that sends a request with the content of this file as its body, read while it is sent. The file is opened
  /// when the task starts, and must keep its length until it has been sent. Errors in addition to those of a data task:
  /// -1100, -1101, -1102 and -1008 (the file cannot be read), -1021 (its length changed).
  std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, const URL& file, DataCompletion completion);

  /// Call this when the rules for trust have changed: every server is then evaluated again on its next connection, in
  /// all sessions of the process. Without this call, a connection that resumes an earlier TLS session (RFC 8446, 2.2)
  /// keeps the result of the earlier evaluation. Open connections stay open.
  static void forgetServerTrust();
  /// Refuses new tasks; the tasks under way finish. Then the delegate is notified.
  void finishTasksAndInvalidate();
  /// Refuses new tasks; the tasks under way are cancelled. Then the delegate is notified.
  void invalidateAndCancel();

 private:
  std::shared_ptr<URLSessionTask> task(URLRequest request, detail::TaskPlan plan);
  explicit URLSession(std::shared_ptr<detail::SessionCore> core);
  std::shared_ptr<detail::SessionCore> core_;
};

}  // namespace platform
