#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Dispatch/DelayedBlock.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Velisand/Future.hpp"

namespace velisand::detail {

struct FutureAccess {
  template <class T>
  static const std::shared_ptr<FutureState<T>>& stateOf(const Future<T>& future) {
    return future.state_;
  }
};

template <class F>
concept AnyFuture = requires { typename F::Value; } && std::derived_from<F, Future<typename F::Value>>;

/// What holds a value of that type: where there is none, an empty one.
template <class T>
using Held = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

template <class T>
Held<T> valueOf(const Result<T>& result) {
  if constexpr (std::is_void_v<T>) {
    return {};
  } else {
    return *result.value();
  }
}

/// Completes a future, the whole, when others have ended, its parts. The callbacks of the parts own it: it lives until
/// each has ended. One that is gone without an outcome has ended, too: it has failed. Parts end on any threads, several
/// at a time.
class CORVANE_API Gathering : public std::enable_shared_from_this<Gathering> {
 public:
  enum class Goal {
    /// Every part succeeds.
    all,
    /// One part ends, whether it succeeds or fails.
    firstToEnd,
    firstToSucceed
  };

  virtual ~Gathering();
  Gathering(const Gathering&) = delete;
  Gathering& operator=(const Gathering&) = delete;

 protected:
  using Parts = std::vector<std::weak_ptr<AnyFutureState>>;

  Gathering(Goal goal, std::shared_ptr<AnyFutureState> whole);

  /// Before the parts are awaited.
  void begin(Parts parts);
  /// After `begin`: cancels the parts when so much time has passed. What then fails fails by that.
  void limit(platform::Seconds limit);
  /// `keep(result)` is called with the outcome where that is one the whole is made of: for one part, or where all are
  /// to succeed, maybe for several at a time.
  template <class T, class Keep>
  void await(const Future<T>& part, Keep keep) {
    auto* const state = FutureAccess::stateOf(part).get();  // lives until the block has run
    state->whenEnded([end = PartEnd(shared_from_this()), state, keep = std::move(keep)]() mutable {
      const auto self = end.take();
      const Result<T>& result = state->result();
      try {
        if (self->isWanted(result.error())) keep(result);
      } catch (...) {
        self->giveUp(platform::Error::current());
      }
      self->endPart();
    });
  }

 private:
  /// In the callback of a part, and destroyed with it: if that was not called, the part is lost.
  class PartEnd {
   public:
    explicit PartEnd(std::shared_ptr<Gathering> gathering) : gathering_(std::move(gathering)) {}
    PartEnd(PartEnd&&) noexcept = default;
    PartEnd& operator=(PartEnd&&) = delete;
    ~PartEnd() {
      if (gathering_) gathering_->losePart();
    }
    /// When the callback is called.
    std::shared_ptr<Gathering> take() { return std::move(gathering_); }

   private:
    std::shared_ptr<Gathering> gathering_;
  };

  /// Completes the whole with what was kept.
  virtual void succeed() = 0;
  virtual void fail(platform::Error error) = 0;

  bool decide() { return !isDecided_.exchange(true); }
  bool isWanted(const platform::Error* error);
  void giveUp(platform::Error error);
  void endPart();
  /// It is gone, and with it who could have completed it.
  void losePart() noexcept;
  void end();
  void endTime();

  const Goal goal_;
  const std::shared_ptr<AnyFutureState> whole_;
  std::atomic<std::size_t> left_ = 0;
  /// What the parts that are left do changes nothing any more.
  std::atomic<bool> isDecided_ = false;
  std::atomic<bool> hasFailure_ = false;
  /// Written by the part that decided; else, where one is to succeed, by the first that failed.
  std::optional<platform::Error> failure_;
  std::optional<platform::Error> firstFailure_;

  platform::Seconds limit_ = platform::Seconds::unlimited();
  std::atomic<bool> isOverdue_ = false;
  platform::DelayedBlock timer_;
};

/// The half that knows the type of the whole.
template <class Value>
class GatheringOf : public Gathering {
 protected:
  GatheringOf(Goal goal, Future<Value> whole)
      : Gathering(goal, FutureAccess::stateOf(whole)), whole_(std::move(whole)) {}

  const Future<Value> whole_;

 private:
  void fail(platform::Error error) override { whole_.markFailure(std::move(error)); }
};

/// The states of futures of one type, or of several.
template <class... T>
std::vector<std::weak_ptr<AnyFutureState>> statesOf(const Future<T>&... futures) {
  return {FutureAccess::stateOf(futures)...};
}
template <class T>
std::vector<std::weak_ptr<AnyFutureState>> statesOf(const std::vector<Future<T>>& futures) {
  std::vector<std::weak_ptr<AnyFutureState>> states;
  states.reserve(futures.size());
  for (const auto& future : futures) states.push_back(FutureAccess::stateOf(future));
  return states;
}

template <class Range>
using ElementOf = std::remove_cvref_t<decltype(*std::begin(std::declval<const Range&>()))>;
template <class Range>
concept FutureRange =
    !AnyFuture<Range> && requires(const Range& range) { std::end(range); } && AnyFuture<ElementOf<Range>>;

template <class F>
using ValueIn = typename std::remove_cvref_t<F>::Value;
template <class Range>
using ValueInRange = ValueIn<ElementOf<std::remove_cvref_t<Range>>>;

// What is handed over is taken: a handle that the caller's expression kept would hide that the maker is gone.

template <class F>
Future<ValueIn<F>> taken(F&& future) {
  return Future<ValueIn<F>>(std::forward<F>(future));
}
template <class Range>
std::vector<Future<ValueInRange<Range>>> takenFrom(Range&& futures) {
  std::vector<Future<ValueInRange<Range>>> list;
  for (auto& each : futures) {
    if constexpr (std::same_as<Range, std::vector<ElementOf<Range>>>) {
      list.push_back(std::move(each));
    } else {
      list.push_back(each);
    }
  }
  return list;
}

/// Says in a sentence what cannot be awaited together.
template <class... T>
constexpr void refuseWhatIsNoFuture() {
  static_assert((AnyFuture<T> && ...),
                "Futures and tasks are awaited together, or a range of them: write `request.send()` in place of a "
                "request");
}

}  // namespace velisand::detail
