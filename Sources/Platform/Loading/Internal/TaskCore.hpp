#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Dispatch/Internal/LiveCount.hpp"
#include "Platform/Loading/Internal/BodyPipe.hpp"
#include "Platform/Loading/Internal/DownloadReceiver.hpp"
#include "Platform/Loading/Internal/LoadOwner.hpp"
#include "Platform/Loading/Internal/ProducedBody.hpp"
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
  static TaskPlan download(DownloadOptions options, URLSession::DownloadCompletion completion) {
    TaskPlan plan{.downloadCompletion = std::move(completion)};
    plan.receiver = std::make_unique<DownloadReceiver>(std::move(options));
    return plan;
  }
  /// As `data`, but what counts is the body of the request: that in the request itself, or that of the file.
  static TaskPlan upload(std::optional<URL> file, URLSession::DataCompletion completion) {
    return {.dataCompletion = std::move(completion), .bodyFile = std::move(file), .isUpload = true};
  }

  /// Hands it on while it arrives.
  static TaskPlan stream(URLSession::StreamCompletion completion) {
    return {.streamCompletion = std::move(completion)};
  }

  URLSession::DataCompletion dataCompletion;
  URLSession::DownloadCompletion downloadCompletion;
  std::unique_ptr<DownloadReceiver> receiver;
  URLSession::StreamCompletion streamCompletion;
  std::optional<URL> bodyFile;
  bool isUpload = false;

  bool isDownload() const { return static_cast<bool>(downloadCompletion); }
  bool isStream() const { return static_cast<bool>(streamCompletion); }
};

/// A task's life: one exchange after another, as redirects and lost networks demand, and exactly one completion.
///
/// `state_` may be read anywhere; what is marked "loop side" belongs to the loop's owner.
class TaskCore final : public URLSessionTask,
                       public LoadOwner,
                       private BodyPipeOwner,
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
  std::shared_ptr<const TaskMetrics> metrics() const override;

  // Loop side.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  /// Where the session keeps the task while it is under way.
  std::size_t place = npos;
  void cancelNow() noexcept;
  /// The network changed: try again if that is what this task waits for.
  void retryConnecting() noexcept;
  const URLRequest& requestToSend() const override { return currentRequest_ ? *currentRequest_ : originalRequest_; }
  UploadFile* bodyFile() override { return sendsFile_ ? bodyFile_.get() : nullptr; }
  ProducedBody* producedBody() override { return requestToSend().httpBodyStream ? producedBody_.get() : nullptr; }
  std::shared_ptr<const std::vector<URLRedirect>> redirects() const override { return hops_; }
  bool wantsBody(const std::shared_ptr<const HTTPURLResponse>& response) override;
  std::variant<BodySink*, LoadFailure> bodySink() override;
  void bodyAnnounced(std::int64_t count) override;
  void bodySent(std::int64_t count) override;
  void bodyReceived(std::int64_t count) override;
  bool usesCache() const override { return !download_ && !isStream_ && !isUpload_; }
  std::shared_ptr<void> keptAlive() const override { return core_; }
  void loadEnded(LoadOutcome outcome) noexcept override;

 private:
  void setReading(bool isWanted) override;
  void submit(const DispatchQueue& queue, Block block) override;
  void post(Block block) override;
  void giveUp() override { cancel(); }

  /// Makes a step of the task's life. Where it throws, the task ends with that error.
  template <class Step>
  void take(Step step) noexcept;
  void start();
  void observe();
  void goOn(LoadOutcome outcome);
  std::optional<LoadFailure> openBodyFile();
  std::optional<std::int64_t> bodyLength() const;
  std::string problem() const;
  void send();
  void sendNext(std::shared_ptr<const URLResponse> response);
  bool considersRedirect(const HTTPURLResponse& response);
  void follow(const HTTPURLResponse& response);
  bool keepsFile(int status, const URLRequest& next) const;
  void propose(LoadOutcome outcome);
  void followAsDecided(LoadOutcome outcome, URLRequest next);
  void letStand(LoadOutcome outcome);
  void beginDownload();
  bool wantsDownload(const HTTPURLResponse& response);
  void loadFile();
  FileLoad loadedFile() const;
  /// Does what takes long on the global queue, and goes on with its result on the loop.
  template <class Work, class Next>
  void doAside(Work work, Next next);
  void count(std::int64_t completed);
  void conclude(LoadOutcome outcome);
  std::optional<Error> completeDownload();
  void finish(std::optional<Data> data, std::shared_ptr<const URLResponse> response,
              std::optional<Error> error) noexcept;
  void finish(FileLoad& loaded);
  void finish(Error error) { finish(std::nullopt, nullptr, std::move(error)); }
  void finish(const LoadFailure& failure, bool requestWasSent);
  void fail(Error error) noexcept;
  void openStream(std::unique_ptr<ContentDecoder> decoder);
  bool endedByCancellation() const noexcept;
  void finishStream() noexcept;
  void complete();

  std::shared_ptr<URLSession> session_;
  const std::shared_ptr<SessionCore> core_;
  const URLRequest originalRequest_;
  const std::uint64_t identifier_;
  const bool isStillborn_;  ///< made on an invalidated session
  const bool isUpload_;
  const bool isStream_;
  ProgressMeter meter_;
  std::atomic<URLSessionTask::State> state_ = URLSessionTask::State::suspended;

  TaskPlan plan_;  // from here on: loop side
  /// Null where the body is none of a file. What few tasks have is elsewhere: many tasks may wait at a time, and the
  /// allocator is fast for up to 1,032 bytes (mallopt(3), glibc.malloc.tcache_max).
  std::unique_ptr<UploadFile> bodyFile_;
  bool sendsFile_ = false;
  std::shared_ptr<ProducedBody> producedBody_;  ///< null without a stream
  /// Null where the task is no download.
  const std::unique_ptr<DownloadReceiver> download_;
  bool isComplete_ = false;  ///< the response said that nothing is missing
  /// Of a stream: the wanted response, and where its body goes once it was handed out.
  std::shared_ptr<const HTTPURLResponse> head_;
  std::shared_ptr<BodyPipe> pipe_;
  std::unique_ptr<URLRequest> currentRequest_;  ///< null, mostly
  std::unique_ptr<URLRequest> nextRequest_;
  std::unique_ptr<Error> headFailure_;
  int redirects_ = 0;
  bool isRedirect_ = false;  ///< `nextRequest_` is what a response redirects to
  bool isProposal_ = false;  ///< and the application decides about it
  bool isDeciding_ = false;  ///< which it does now
  /// Null before the first redirect.
  std::shared_ptr<const std::vector<URLRedirect>> hops_;
  bool waitsForConnectivity_ = false;

  /// Null, mostly. Set before anything is delivered.
  std::shared_ptr<URLSessionTaskObserver> observer_;
  std::optional<Data> data_;  // from here on: written on the loop side, read by the delivery
  std::unique_ptr<TemporaryFile> file_;
  std::shared_ptr<const URLResponse> response_;
  std::optional<Error> error_;
  std::shared_ptr<const TaskMetrics> metrics_;
  std::atomic<bool> hasMetrics_ = false;  ///< from then on any thread may read them
};

template <class Step>
void TaskCore::take(Step step) noexcept {
  try {
    step();
  } catch (...) {
    fail(Error::current());
  }
}

/// The error of a cancelled task.
Error cancelledError(const URL& url, bool requestWasSent);
/// The error of a task that was resumed too late: its session had been closed by then.
Error turnedAwayError(const URL& url);

}  // namespace platform::detail
