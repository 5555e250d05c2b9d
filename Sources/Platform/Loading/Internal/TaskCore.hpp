#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Dispatch/Internal/LiveCount.hpp"
#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/Internal/LoadOwner.hpp"
#include "Platform/Loading/Internal/ProgressMeter.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace platform::detail {

struct FileLoad;
class SessionCore;

/// What a task is to do beside sending its request.
struct TaskPlan {
  /// Keeps the body of the response in memory.
  static TaskPlan data(URLSession::DataCompletion completion) { return {.dataCompletion = std::move(completion)}; }
  /// Writes it to a file.
  static TaskPlan download(URLSession::DownloadCompletion completion) {
    return {.downloadCompletion = std::move(completion)};
  }
  /// As `data`, but what counts is the body of the request: that in the request itself, or that of the file.
  static TaskPlan upload(std::optional<URL> file, URLSession::DataCompletion completion) {
    return {.dataCompletion = std::move(completion), .bodyFile = std::move(file), .isUpload = true};
  }

  URLSession::DataCompletion dataCompletion;
  URLSession::DownloadCompletion downloadCompletion;
  std::optional<URL> bodyFile;
  bool isUpload = false;

  bool isDownload() const { return static_cast<bool>(downloadCompletion); }
};

/// A task's life: one exchange after another, as redirects and lost networks demand, and exactly one completion.
///
/// `state_` may be read anywhere; what is marked "loop side" belongs to the loop's owner.
class TaskCore final : public URLSessionTask,
                       public LoadOwner,
                       public std::enable_shared_from_this<TaskCore>,
                       public LiveCount<TaskCore> {
 public:
  /// `session` is kept alive until the completion has been delivered.
  TaskCore(std::shared_ptr<URLSession> session, std::shared_ptr<SessionCore> core, URLRequest request, TaskPlan plan,
           bool isStillborn);

  // Any thread.
  void resume() override;
  void cancel() override;
  URLSessionTask::State state() const override { return state_.load(std::memory_order_acquire); }
  const URLRequest& originalRequest() const override { return originalRequest_; }
  std::uint64_t taskIdentifier() const override { return identifier_; }
  std::shared_ptr<Progress> progress() override { return meter_.progress(); }

  // Loop side.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  /// Where the session keeps the task while it is under way.
  std::size_t place = npos;
  void cancelNow() noexcept;
  /// The network changed: try again if that is what this task waits for.
  void retryConnecting() noexcept;
  const URLRequest& requestToSend() const override { return currentRequest_ ? *currentRequest_ : originalRequest_; }
  UploadFile* bodyFile() override { return sendsFile_ ? &bodyFile_ : nullptr; }
  bool wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) override;
  std::variant<BodySink*, LoadFailure> bodySink() override;
  void bodyAnnounced(std::int64_t count) override;
  void bodySent(std::int64_t count) override;
  void bodyReceived(std::int64_t count) override;
  void loadEnded(LoadOutcome outcome) noexcept override;

 private:
  /// Makes a step of the task's life. Where it throws, the task ends with that error.
  template <class Step>
  void take(Step step) noexcept;
  void start();
  void goOn(LoadOutcome outcome);
  std::optional<LoadFailure> openBodyFile();
  void send();
  void loadFile();
  FileLoad loadedFile() const;
  void count(std::int64_t completed);
  void conclude(LoadOutcome outcome);
  std::optional<LoadFailure> completeDownload();
  void finish(std::optional<Data> data, std::shared_ptr<const URLResponse> response,
              std::optional<Error> error) noexcept;
  void finish(FileLoad& loaded);
  void finish(Error error) { finish(std::nullopt, nullptr, std::move(error)); }
  void finish(const LoadFailure& failure, bool requestWasSent);
  void complete();

  std::shared_ptr<URLSession> session_;
  const std::shared_ptr<SessionCore> core_;
  const URLRequest originalRequest_;
  const std::uint64_t identifier_;
  const bool isStillborn_;  ///< made on an invalidated session
  const bool isUpload_;
  const bool isDownload_;
  ProgressMeter meter_;
  std::atomic<URLSessionTask::State> state_ = URLSessionTask::State::suspended;

  TaskPlan plan_;  // from here on: loop side
  UploadFile bodyFile_;
  bool sendsFile_ = false;
  DownloadFile download_;
  std::optional<URLRequest> currentRequest_;
  std::optional<URLRequest> nextRequest_;
  std::optional<Error> redirectFailure_;
  int redirects_ = 0;
  bool waitsForConnectivity_ = false;

  std::optional<Data> data_;  // from here on: written on the loop side, read by the delivery
  std::optional<TemporaryFile> file_;
  std::shared_ptr<const URLResponse> response_;
  std::optional<Error> error_;
};

/// The error of a cancelled task.
Error cancelledError(const URL& url);
/// The error of a task that was resumed too late: its session had been closed by then.
Error turnedAwayError(const URL& url);

}  // namespace platform::detail
