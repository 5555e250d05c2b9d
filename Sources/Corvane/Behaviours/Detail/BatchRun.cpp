#include "Corvane/Behaviours/Detail/BatchRun.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <utility>

#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Trap.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace corvane::detail {

using platform::DispatchGroup;
using platform::DispatchQueue;

namespace {

double wholeSeconds(double interval) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (!std::isfinite(interval) || interval >= limit || interval < -limit)
    platform::trap("The time-out of a request in a serial batch is no whole number of seconds");
  return std::trunc(interval);
}

}  // namespace

/// Sends up to so many at a time, in the order of the list.
class ParallelBatch : public std::enable_shared_from_this<ParallelBatch> {
 public:
  explicit ParallelBatch(std::shared_ptr<BatchRun> run) : run_(std::move(run)) {}

  void start(std::size_t atOnce) {
    const std::size_t count = run_->count();
    for (std::size_t index = 0; index < count; ++index) group_.enter();
    group_.notify(run_->completionQueue().value_or(DispatchQueue::global()), [run = run_] { run->complete(); });
    sendMore(std::min(atOnce, count));
  }

 private:
  /// One request under way. It makes room for another when its response is there, and when it is dropped, as one that
  /// should not be sent is; but only a response counts for the end of the batch.
  class Place {
   public:
    explicit Place(std::shared_ptr<ParallelBatch> batch) : batch_(std::move(batch)) {}
    Place(Place&&) noexcept = default;
    Place& operator=(Place&&) = delete;
    ~Place() {
      if (batch_) batch_->sendMore(1);
    }
    void end() {
      const auto batch = std::exchange(batch_, nullptr);
      batch->sendMore(1);
      batch->group_.leave();
    }

   private:
    std::shared_ptr<ParallelBatch> batch_;
  };

  /// One thread sends at a time, so that the list's order is kept; others leave it to that one.
  void sendMore(std::size_t number) {
    if (wanted_.fetch_add(number) != 0) return;
    do {
      if (next_ == run_->count()) continue;
      run_->send(next_++, [place = Place(shared_from_this())]() mutable { place.end(); });
    } while (wanted_.fetch_sub(1) != 1);
  }

  const std::shared_ptr<BatchRun> run_;
  const DispatchGroup group_;
  /// How many may be sent that are not yet.
  std::atomic<std::size_t> wanted_ = 0;
  std::size_t next_ = 0;
};

/// The serial batches of the process, which run one after another, without holding a thread. Everything is done on
/// one queue.
class SerialBatches {
 public:
  static SerialBatches& shared() {
    static SerialBatches& batches = *new SerialBatches;
    return batches;
  }

  SerialBatches() {
    timer_.setEventHandler([this] { timeOut(); });
  }

  void add(std::shared_ptr<BatchRun> run) {
    queue_.async([this, run = std::move(run)]() mutable {
      waiting_.push_back(std::move(run));
      if (waiting_.size() == 1) startFirst();
    });
  }

 private:
  void startFirst() {
    index_ = 0;
    sendNext();
  }

  void sendNext() {
    const auto& run = waiting_.front();
    if (index_ == run->count()) {
      velisand::async(run->completionQueue(), [run] { run->complete(); });
      waiting_.pop_front();
      if (!waiting_.empty()) queue_.async([this] { startFirst(); });
      return;
    }
    double interval = 0;
    std::optional<platform::Error> unreadable;
    try {
      interval = run->timeoutInterval(index_);
    } catch (...) {
      unreadable = platform::Error::current();
    }
    if (unreadable) {
      run->fail(index_, *std::move(unreadable), whenDone());
      timer_.schedule(platform::Seconds::unlimited());
    } else {
      const double timeout = wholeSeconds(interval);
      run->send(index_, whenDone());
      timer_.schedule(timeout);
    }
    timer_.resume();
  }

  platform::Block whenDone() {
    return [this, request = ++request_] {
      queue_.async([this, request] {
        // Too late when the next request is under way.
        if (request == request_) endRequest();
      });
    };
  }

  void endRequest() {
    ++request_;
    timer_.suspend();
    ++index_;
    sendNext();
  }

  void timeOut() {
    waiting_.front()->keepTimeout();
    endRequest();
  }

  const DispatchQueue queue_{"org.corvane.corvane.httprequestable.array.serial"};
  /// Runs while a request is waited for.
  const platform::DispatchTimer timer_{queue_};
  std::deque<std::shared_ptr<BatchRun>> waiting_;
  std::size_t index_ = 0;
  /// The number of the request under way.
  std::uint64_t request_ = 0;
};

BatchRun::~BatchRun() = default;

void BatchRun::start(HTTPBatchMode mode) {
  if (mode.shouldParallelize()) {
    std::make_shared<ParallelBatch>(shared_from_this())->start(mode.atOnce());
  } else {
    SerialBatches::shared().add(shared_from_this());
  }
}

}  // namespace corvane::detail
