#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Streaming/Detail/ItemSource.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

/// What a streamed response consists of, one item after the other: pieces of bytes (`HTTPBodyStream`), lines, JSON
/// models, events.
///
///     while (const auto item = co_await items.next()) use(*item);
///
/// A value that can be moved, not copied. To destroy it cancels the exchange: over HTTP/1.1 the connection is closed,
/// over HTTP/2 the stream is reset.
template <class ItemType>
class HTTPSequence {
 public:
  /// The type of the items.
  using Item = ItemType;

  /// For the library's own use.
  explicit HTTPSequence(std::shared_ptr<detail::ItemSource<Item>> source) : source_(std::move(source)) {}
  HTTPSequence(HTTPSequence&&) noexcept = default;
  HTTPSequence& operator=(HTTPSequence&& other) noexcept {
    cancel();
    source_ = std::move(other.source_);
    return *this;
  }
  ~HTTPSequence() { cancel(); }

  /// The next item, as soon as it is there; absent at the end. Fails with the errors of a send, and then again each
  /// time: a response that is cut off is a failure, never an end. Ask for one item at a time, on any thread: not before
  /// the future before it is completed. To cancel the future cancels the whole sequence. The transport reads ahead only
  /// as far as `URLResponseStream` says.
  velisand::Future<std::optional<Item>> next() { return detail::ItemWait<Item>::next(source_); }
  /// Ends the exchange. What was not asked for is dropped; `next` fails with `HTTPResponseError::taskCancelled`, unless
  /// the sequence has ended before. Any thread, also while `next` waits.
  void cancel() const noexcept {
    if (source_) source_->cancel();
  }

  /// For the library's own adapters.
  const std::shared_ptr<detail::ItemSource<Item>>& source() const noexcept { return source_; }
  /// For the library's own sequences, which go on with its items: it is empty afterwards.
  std::shared_ptr<detail::ItemSource<Item>> release() && { return std::exchange(source_, nullptr); }

 protected:
  /// Where the items come from; null in a moved-from value.
  std::shared_ptr<detail::ItemSource<Item>> source_;
};

}  // namespace corvane
