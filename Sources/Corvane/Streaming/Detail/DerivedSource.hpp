#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Streaming/Detail/ItemSource.hpp"
#include "Platform/Foundation/Error.hpp"

namespace corvane::detail {

/// Items that are made of others. What `put` or `take` throws is the failure, and ends the source below.
template <class Item, class From>
class DerivedSource : public ItemSource<Item> {
 public:
  using Outcome = typename ItemSource<Item>::Outcome;

  explicit DerivedSource(std::shared_ptr<ItemSource<From>> from) : from_(std::move(from)) {}

  std::optional<Outcome> poll() final {
    if (end_) return end_;
    try {
      return pollBelow();
    } catch (...) {
      end_ = Outcome::failure(platform::Error::current());
      from_->cancel();
      return end_;
    }
  }
  void whenReady(platform::Block block) final { from_->whenReady(std::move(block)); }
  void cancel() final { from_->cancel(); }

 private:
  /// The next item of what was put in, if there is one.
  virtual std::optional<Item> take() = 0;
  /// Called when there is none.
  virtual void put(From from) = 0;
  /// There is no more to put in.
  virtual void finish() = 0;

  std::optional<Outcome> pollBelow() {
    for (;;) {
      if (auto item = take()) return Outcome::success(std::move(item));
      if (isFinished_) return end_ = Outcome::success(std::nullopt);
      const auto below = from_->poll();
      if (!below) return std::nullopt;
      if (const auto* error = below->error()) return end_ = Outcome::failure(*error);
      if (const auto& from = *below->value()) {
        put(*from);
      } else {
        finish();
        isFinished_ = true;
      }
    }
  }

  const std::shared_ptr<ItemSource<From>> from_;
  bool isFinished_ = false;
  std::optional<Outcome> end_;
};

}  // namespace corvane::detail
