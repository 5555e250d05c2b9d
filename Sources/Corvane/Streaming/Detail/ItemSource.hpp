#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Velisand/Future.hpp"

namespace corvane::detail {

/// What comes one after the other, without a thread that waits for it. For one reader at a time, on any thread.
template <class Item>
class ItemSource {
 public:
  /// The next item, absent at the end, or what went wrong. The end and a failure stay.
  using Outcome = velisand::Result<std::optional<Item>>;

  ItemSource() = default;
  virtual ~ItemSource() = default;
  ItemSource(const ItemSource&) = delete;
  ItemSource& operator=(const ItemSource&) = delete;

  /// Absent while there is nothing yet.
  virtual std::optional<Outcome> poll() = 0;
  /// Calls the block once, when `poll` may have something, on a queue of the library.
  virtual void whenReady(platform::Block block) = 0;
  /// Ends it soon by `HTTPResponseError::taskCancelled`. Any thread.
  virtual void cancel() = 0;
};

/// Completes a future with the next item.
template <class Item>
class ItemWait : public std::enable_shared_from_this<ItemWait<Item>> {
 public:
  using Outcome = typename ItemSource<Item>::Outcome;

  static velisand::Future<std::optional<Item>> next(std::shared_ptr<ItemSource<Item>> source) {
    const velisand::Future<std::optional<Item>> future;
    if (auto outcome = polled(*source)) {
      future.markResult(*std::move(outcome));
    } else {
      const auto wait = std::make_shared<ItemWait>(std::move(source), future);
      wait->stopping_.emplace(future.stopToken(), Stop{wait->source_});
      wait->waitOn();
    }
    return future;
  }

  ItemWait(std::shared_ptr<ItemSource<Item>> source, velisand::Future<std::optional<Item>> future)
      : source_(std::move(source)), future_(std::move(future)) {}

 private:
  struct Stop {
    void operator()() const noexcept {
      if (const auto source = stopped.lock()) source->cancel();
    }

    std::weak_ptr<ItemSource<Item>> stopped;
  };

  static std::optional<Outcome> polled(ItemSource<Item>& source) {
    try {
      return source.poll();
    } catch (...) {
      return Outcome::failure(platform::Error::current());
    }
  }
  void waitOn() {
    try {
      source_->whenReady([self = this->shared_from_this()] { self->go(); });
    } catch (...) {
      complete(Outcome::failure(platform::Error::current()));
    }
  }
  void go() {
    auto outcome = polled(*source_);
    outcome ? complete(*std::move(outcome)) : waitOn();
  }
  void complete(Outcome outcome) {
    stopping_.reset();
    // The reader may ask for the next one as soon as it has this.
    source_.reset();
    future_.markResult(std::move(outcome));
  }

  std::shared_ptr<ItemSource<Item>> source_;
  const velisand::Future<std::optional<Item>> future_;
  /// Destroyed first.
  std::optional<std::stop_callback<Stop>> stopping_;
};

}  // namespace corvane::detail
