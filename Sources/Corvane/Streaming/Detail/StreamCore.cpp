#include "Corvane/Streaming/Detail/StreamCore.hpp"

#include <optional>
#include <stop_token>
#include <utility>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace corvane::detail {

using platform::Block;
using platform::Data;
using platform::DispatchQueue;
using platform::URLResponseStream;
using platform::detail::Mutex;
using platform::detail::MutexLock;
using platform::detail::requiringMemory;

namespace {

class OpenStream final : public StreamCore, public std::enable_shared_from_this<OpenStream> {
 public:
  SendCompletion<HTTPStreamResponse> completion(const SendOptions& options) override;
  const velisand::Future<ResponseRecord>& head() const override { return head_; }

  void begin(std::shared_ptr<const platform::URLResponse> response, std::shared_ptr<StreamSource> source) override;

  std::optional<Outcome> poll() override;
  void whenReady(Block block) override;
  void cancel() override { std::stop_source(stop_).request_stop(); }

 private:
  /// The completion. An exchange holds it, and this the exchange, so it does not hold this. One that is dropped without
  /// being called, as by a request that should not be sent, ends the stream as cancelled.
  class End {
   public:
    explicit End(std::weak_ptr<OpenStream> stream) : stream_(std::move(stream)) {}
    End(End&& other) noexcept = default;
    End& operator=(End&&) = delete;
    ~End() {
      const auto stream = stream_.lock();
      if (!stream) return;
      requiringMemory("the end of a stream cannot be told",
                      [&] { stream->ended(HTTPStreamResponse({}, {}, nullptr, HTTPResponseError::taskCancelled())); });
    }
    void operator()(const HTTPStreamResponse& response) {
      if (const auto stream = std::exchange(stream_, {}).lock()) stream->ended(response);
    }

   private:
    std::weak_ptr<OpenStream> stream_;
  };

  void ended(const HTTPStreamResponse& response);

  const std::stop_source stop_;
  const velisand::Future<ResponseRecord> head_;

  Mutex mutex_;
  std::shared_ptr<StreamSource> source_ CORVANE_GUARDED_BY(mutex_);
  std::optional<Outcome> end_ CORVANE_GUARDED_BY(mutex_);
  Block waiting_ CORVANE_GUARDED_BY(mutex_);  ///< for the head
};

SendCompletion<HTTPStreamResponse> OpenStream::completion(const SendOptions& options) {
  SendCompletion<HTTPStreamResponse> made(End(weak_from_this()), SendBounds::by(stop_.get_token()));
  made.add(options);
  return made;
}

void OpenStream::begin(std::shared_ptr<const platform::URLResponse> response, std::shared_ptr<StreamSource> source) {
  ResponseRecord record = ResponseRecord::of(std::move(response), std::nullopt);
  Block waiting;
  {
    const MutexLock lock(mutex_);
    source_ = std::move(source);
    waiting = std::exchange(waiting_, nullptr);
  }
  head_.markCompletion(std::move(record));
  if (waiting) waiting();
}

/// The end of a body is known from its source; what comes here before a source is the failure of the whole exchange.
void OpenStream::ended(const HTTPStreamResponse& response) {
  const auto* error = response.result.error();
  Block waiting;
  {
    const MutexLock lock(mutex_);
    if (!end_) end_ = error ? Outcome::failure(*error) : Outcome::success(std::nullopt);
    waiting = std::exchange(waiting_, nullptr);
  }
  if (error) head_.markFailure(*error);
  if (waiting) waiting();
}

std::optional<OpenStream::Outcome> OpenStream::poll() {
  std::shared_ptr<StreamSource> source;
  {
    const MutexLock lock(mutex_);
    if (end_) return end_;
    source = source_;
  }
  if (!source) return std::nullopt;
  StreamSource::Step step = source->next();
  if (step.status == URLResponseStream::Status::pending) return std::nullopt;
  if (step.status == URLResponseStream::Status::piece) return Outcome::success(std::move(step.piece));
  std::optional<Outcome> end = step.error ? Outcome::failure(*step.error) : Outcome::success(std::nullopt);
  {
    const MutexLock lock(mutex_);
    end_ = end;
    source_.reset();
  }
  source->conclude(std::move(step.error));
  return end;
}

void OpenStream::whenReady(Block block) {
  std::shared_ptr<StreamSource> source;
  {
    const MutexLock lock(mutex_);
    source = source_;
    if (!source && !end_) {
      waiting_ = std::move(block);
      return;
    }
  }
  source ? source->whenReady(std::nullopt, std::move(block)) : DispatchQueue::global().async(std::move(block));
}

}  // namespace

std::shared_ptr<StreamCore> StreamCore::make() { return std::make_shared<OpenStream>(); }

}  // namespace corvane::detail
