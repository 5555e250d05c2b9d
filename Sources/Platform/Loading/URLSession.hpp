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
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"
#include "Platform/Loading/URLSessionDelegate.hpp"

namespace platform {

namespace detail {
class SessionCore;
struct TaskPlan;
}  // namespace detail

/// How a session behaves; copied when the session is made.
struct CORVANE_API URLSessionConfiguration {
  /// Nothing is kept on disk: cookies live in memory, as long as the session.
  static URLSessionConfiguration ephemeral() { return {}; }

  /// Whether a task waits, instead of failing, while the machine has no network that leads to the host. It waits as
  /// long as that takes, whatever its time-out, and tries again when the system's network changes.
  bool waitsForConnectivity = false;
  /// Bodies that are kept in memory fail with -1103 when they exceed this many bytes, decoded. Default: 1 GiB.
  std::int64_t maximumBodyBytes = std::int64_t{1} << 30;
  /// Connections to one host at a time; further tasks wait in order. 0: as many as serve throughput,
  /// starting at 64 and growing while the server is what holds things up.
  int httpMaximumConnectionsPerHost = 0;
  /// Whether cookies are stored from responses and sent with later requests of this session.
  bool httpShouldSetCookies = true;
};

/// One load. Made suspended; `resume` starts it. All operations may be called from any thread.
class CORVANE_API URLSessionTask {
 public:
  /// Where a task is in its life.
  enum class State { running = 0, suspended = 1, canceling = 2, completed = 3 };

  virtual ~URLSessionTask();
  URLSessionTask(const URLSessionTask&) = delete;
  URLSessionTask& operator=(const URLSessionTask&) = delete;

  /// Starts the task; further calls do nothing.
  virtual void resume() = 0;
  /// Ends the task with the error "NSURLErrorDomain" -999, delivered as every completion is. Returns at
  /// once. After the task completed it does nothing. A task that was never resumed completes too.
  virtual void cancel() = 0;
  /// At this moment. A task is `canceling` from `cancel` until its completion was called.
  virtual State state() const = 0;
  /// What the task was made with, before redirects.
  virtual const URLRequest& originalRequest() const = 0;
  /// Counts the bytes of the body: of the request in an upload, of the response in any other task, as they go over
  /// the network. It is updated at most every 50 ms, when something moved, and at the end of a task that succeeded.
  virtual std::shared_ptr<Progress> progress() = 0;
  /// Unique within the process.
  virtual std::uint64_t taskIdentifier() const = 0;

 protected:
  URLSessionTask() = default;
};

/// Loads URLs: connections, cookies and behaviour shared by its tasks. Thread-safe.
///
/// A session lives until it is invalidated and its tasks are done, or its last handle is gone and its tasks
/// are done. It holds its delegate until then.
class CORVANE_API URLSession : public std::enable_shared_from_this<URLSession> {
 public:
  /// Called exactly once for each task, on the delegate queue: the body (present, maybe empty, when the
  /// exchange completed; what had arrived, if anything, when it failed), the response if its head arrived,
  /// and the error. An error means the body is not complete.
  using DataCompletion =
      UniqueFunction<void(std::optional<Data>, std::shared_ptr<const URLResponse>, std::optional<Error>)>;

  /// The same for a download: in place of the body the file that holds it, decoded, where the exchange completed,
  /// whatever its status. The file is removed with that value: move it, or keep it.
  using DownloadCompletion =
      UniqueFunction<void(std::optional<TemporaryFile>, std::shared_ptr<const URLResponse>, std::optional<Error>)>;

  /// A session that calls its delegate (null: none) and its completions on that queue, which must be serial.
  static std::shared_ptr<URLSession> make(URLSessionConfiguration configuration,
                                          std::shared_ptr<URLSessionDelegate> delegate, DispatchQueue delegateQueue);
  ~URLSession();
  URLSession(const URLSession&) = delete;
  URLSession& operator=(const URLSession&) = delete;

  /// What the session was made with.
  const URLSessionConfiguration& configuration() const;
  /// A human-readable name; absent by default.
  std::optional<std::string> sessionDescription() const;
  /// Absent takes the name away.
  void setSessionDescription(std::optional<std::string> description);

  /// A load of an http, https or file URL into memory. On an invalidated session the task fails with
  /// "NSURLErrorDomain" -999 when resumed.
  std::shared_ptr<URLSessionTask> dataTask(URLRequest request, DataCompletion completion);
  /// A load of an http, https or file URL into a file, which is written as the bytes arrive, in the temporary
  /// directory. What a task that fails or is cancelled wrote is removed. Beside the errors of a data task:
  /// -3000 (the file cannot be made), -3002 and -3003 (it cannot be written, as on a full disk).
  std::shared_ptr<URLSessionTask> downloadTask(URLRequest request, DownloadCompletion completion);
  /// A request with these bytes as its body.
  std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, Data body, DataCompletion completion);
  /// A request with the content of this file as its body, which is read as it is sent. The file is opened when the
  /// task starts, and must keep its length until it is sent. Beside the errors of a data task: -1100, -1101, -1102
  /// and -1008 (the file cannot be read), -1021 (its length changed).
  std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, const URL& file, DataCompletion completion);

  /// For when what decides about trust has changed: servers are judged anew from their next connection on, in all
  /// sessions of the process. Otherwise a connection that resumes the TLS session of an earlier one (RFC 8446, 2.2) has
  /// the verdict of that. Connections that are open stay so.
  static void forgetServerTrust();
  /// No new tasks; those under way finish. Then the delegate is notified.
  void finishTasksAndInvalidate();
  /// No new tasks; those under way are cancelled. Then the delegate is notified.
  void invalidateAndCancel();

 private:
  std::shared_ptr<URLSessionTask> task(URLRequest request, detail::TaskPlan plan);
  explicit URLSession(std::shared_ptr<detail::SessionCore> core);
  std::shared_ptr<detail::SessionCore> core_;
};

}  // namespace platform
