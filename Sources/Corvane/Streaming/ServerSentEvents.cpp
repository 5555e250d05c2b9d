#include "Corvane/Streaming/ServerSentEvents.hpp"

#include <stop_token>
#include <string_view>
#include <utility>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPStreamError.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"

namespace corvane::detail {

using platform::Block;
using platform::DispatchQueue;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::detail::Mutex;
using platform::detail::MutexLock;
using platform::detail::requiringMemory;

namespace {

constexpr const char* eventStreamType = "text/event-stream";

/// Events over one connection after the other.
class EventSource final : public ItemSource<ServerSentEvent>, public std::enable_shared_from_this<EventSource> {
 public:
  EventSource(StreamOpener open, ServerSentEventOptions options)
      : open_(std::move(open)),
        options_(std::move(options)),
        bounds_(SendBounds::add(SendBounds::by(stop_.get_token()), options_.call)),
        parser_(options_.maximumBytes) {}

  void start() {
    stopping_.emplace(bounds_->stop, Wake{weak_from_this()});
    connect();
  }

  std::optional<Outcome> poll() override;
  void whenReady(Block block) override;
  void cancel() override { std::stop_source(stop_).request_stop(); }

 private:
  struct Wake {
    void operator()() const noexcept {
      if (const auto source = woken.lock()) source->wake();
    }

    std::weak_ptr<EventSource> woken;
  };

  void connect();
  std::optional<Outcome> pollStream();
  void take(std::string_view bytes);
  std::optional<Outcome> checkHead();
  std::optional<Outcome> streamEnded(Outcome end);
  bool mayReconnect(const Outcome& end) const;
  void waitAndReconnect();
  void wake();
  Outcome ended(Outcome end) {
    stream_.reset();
    end_ = end;
    return end;
  }

  StreamOpener open_;
  const ServerSentEventOptions options_;
  const std::stop_source stop_;
  const SharedBounds bounds_;
  ServerSentEventParser parser_;
  /// Null while it waits to connect again.
  std::shared_ptr<StreamCore> stream_;
  bool isHeadChecked_ = false;
  int connectionsInVain_ = 0;
  std::optional<Error> failure_;  ///< of the parser
  std::optional<Outcome> end_;

  Mutex mutex_;
  bool isWaiting_ CORVANE_GUARDED_BY(mutex_) = false;  ///< to connect again
  Block block_ CORVANE_GUARDED_BY(mutex_);
  /// Destroyed first.
  std::optional<std::stop_callback<Wake>> stopping_;
};

void EventSource::connect() {
  HTTPHeaderFields fields{{"Accept", eventStreamType}, {"Cache-Control", "no-store"}};
  const std::string& last = parser_.lastEventID();
  // What no field can hold is not sent.
  if (!last.empty() && HTTPHeaderFields::problem("Last-Event-ID", last).empty()) fields.set("Last-Event-ID", last);
  parser_.restart();
  isHeadChecked_ = false;
  ++connectionsInVain_;
  stream_ = open_(std::move(fields), SendBounds::options(bounds_, std::nullopt));
}

std::optional<EventSource::Outcome> EventSource::poll() {
  if (end_) return end_;
  try {
    if (auto event = parser_.next()) return Outcome::success(std::move(event));
    if (failure_) return ended(Outcome::failure(*failure_));
    {
      const MutexLock lock(mutex_);
      if (isWaiting_ && !bounds_->isStopped()) return std::nullopt;
      isWaiting_ = false;
    }
    if (!stream_ && bounds_->isStopped()) return ended(Outcome::failure(bounds_->error()));
    if (!stream_) connect();
    return pollStream();
  } catch (...) {
    return ended(Outcome::failure(Error::current()));
  }
}

std::optional<EventSource::Outcome> EventSource::pollStream() {
  for (;;) {
    auto step = stream_->poll();
    if (!step) return std::nullopt;
    if (!step->error() && !std::exchange(isHeadChecked_, true)) {
      if (auto end = checkHead()) return end;
    }
    if (const auto* error = step->error()) return streamEnded(Outcome::failure(*error));
    if (!*step->value()) return streamEnded(Outcome::success(std::nullopt));
    take((**step->value()).view());
    if (auto event = parser_.next()) {
      connectionsInVain_ = 0;
      return Outcome::success(std::move(event));
    }
    if (failure_) return ended(Outcome::failure(*failure_));
  }
}

/// The events before a fault come first.
void EventSource::take(std::string_view bytes) {
  try {
    parser_.push(bytes);
  } catch (const HTTPStreamError& error) {
    failure_ = error;
    stream_->cancel();
  }
}

/// What ends the events for good, whatever the options say.
std::optional<EventSource::Outcome> EventSource::checkHead() {
  const ResponseRecord head = stream_->head().get();
  if (head.status == HTTPStatus::noContent) return ended(Outcome::success(std::nullopt));
  if (head.mimeType == eventStreamType) return std::nullopt;
  return ended(Outcome::failure(HTTPStreamError::unexpectedContentType(head.mimeType.value_or(""))));
}

std::optional<EventSource::Outcome> EventSource::streamEnded(Outcome end) {
  stream_.reset();
  if (!end.error() && bounds_->isStopped()) end = Outcome::failure(bounds_->error());
  if (!mayReconnect(end)) return ended(std::move(end));
  waitAndReconnect();
  return std::nullopt;
}

bool EventSource::mayReconnect(const Outcome& end) const {
  if (!options_.reconnects || bounds_->isStopped()) return false;
  if (options_.reconnectLimit && connectionsInVain_ > *options_.reconnectLimit) return false;
  return !end.error() || end.error()->is<CFNetworkErrors>();
}

void EventSource::waitAndReconnect() {
  {
    const MutexLock lock(mutex_);
    isWaiting_ = true;
  }
  DispatchQueue::global().asyncAfter(parser_.retry().value_or(options_.wait), [woken = weak_from_this()] {
    if (const auto source = woken.lock()) source->wake();
  });
}

void EventSource::wake() {
  Block block;
  {
    const MutexLock lock(mutex_);
    isWaiting_ = false;
    block = std::exchange(block_, nullptr);
  }
  if (!block) return;
  requiringMemory("events cannot be received any more", [&] { DispatchQueue::global().async(std::move(block)); });
}

void EventSource::whenReady(Block block) {
  {
    const MutexLock lock(mutex_);
    // A stop that was requested before the wait began wakes nobody.
    if (isWaiting_ && !bounds_->isStopped()) {
      block_ = std::move(block);
      return;
    }
  }
  stream_ ? stream_->whenReady(std::move(block)) : DispatchQueue::global().async(std::move(block));
}

}  // namespace

std::shared_ptr<ItemSource<ServerSentEvent>> eventSource(StreamOpener open, ServerSentEventOptions options) {
  const auto source = std::make_shared<EventSource>(std::move(open), std::move(options));
  source->start();
  return source;
}

}  // namespace corvane::detail
