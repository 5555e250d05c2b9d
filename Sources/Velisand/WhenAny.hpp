#pragma once

#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Velisand/Detail/Gathering.hpp"

namespace velisand {

/// The value of one of several futures, and which one it was, counted from 0.
///
///     const IndexedValue<Data> first = whenAny(futures).get();
///     show(first.index, first.value);
template <class T>
struct IndexedValue {
  std::size_t index = 0;  ///< which future it was
  T value;                ///< what that one was completed with
};
/// The same where the futures have no values.
template <>
struct IndexedValue<void> {
  std::size_t index = 0;
};

namespace detail {

template <class... T>
class AnyOf final : public GatheringOf<std::variant<Held<T>...>> {
  using Value = std::variant<Held<T>...>;
  using Base = GatheringOf<Value>;

 public:
  AnyOf(typename Base::Goal goal, Future<Value> whole) : Base(goal, std::move(whole)) {}

  template <std::size_t... index>
  void await(std::index_sequence<index...>, const Future<T>&... parts) {
    this->begin(statesOf(parts...));
    (Base::await(parts,
                 [this](const Result<T>& result) { value_.emplace(std::in_place_index<index>, valueOf(result)); }),
     ...);
  }

 private:
  void succeed() override { this->whole_.markCompletion(*std::move(value_)); }

  std::optional<Value> value_;
};

template <class T>
class AnyOfList final : public GatheringOf<IndexedValue<T>> {
  using Base = GatheringOf<IndexedValue<T>>;

 public:
  AnyOfList(typename Base::Goal goal, Future<IndexedValue<T>> whole) : Base(goal, std::move(whole)) {}

  void await(const std::vector<Future<T>>& parts) {
    this->begin(statesOf(parts));
    for (std::size_t index = 0; index < parts.size(); ++index)
      Base::await(parts[index], [this, index](const Result<T>& result) { keep(index, result); });
  }

 private:
  void keep(std::size_t index, const Result<T>& result) {
    if constexpr (std::is_void_v<T>) {
      value_.emplace(IndexedValue<void>{index});
    } else {
      value_.emplace(IndexedValue<T>{index, *result.value()});
    }
  }
  void succeed() override { this->whole_.markCompletion(*std::move(value_)); }

  std::optional<IndexedValue<T>> value_;
};

/// What to await none fails with: "NSPOSIXErrorDomain" EINVAL.
CORVANE_API platform::Error noneToAwait();

template <class... T>
Future<std::variant<Held<T>...>> anyOf(Gathering::Goal goal, const Future<T>&... futures) {
  const Future<std::variant<Held<T>...>> whole;
  std::make_shared<AnyOf<T...>>(goal, whole)->await(std::index_sequence_for<T...>(), futures...);
  return whole;
}

template <class T>
Future<IndexedValue<T>> anyOf(Gathering::Goal goal, const std::vector<Future<T>>& futures) {
  const Future<IndexedValue<T>> whole;
  if (futures.empty()) {
    whole.markFailure(noneToAwait());
  } else {
    std::make_shared<AnyOfList<T>>(goal, whole)->await(futures);
  }
  return whole;
}

}  // namespace detail

/// Awaits the first of several futures or tasks to end, whether it succeeds or fails, and cancels the others.
///
///     const auto first = co_await whenAny(request.send(), button.pressed());
///     if (first.index() == 0) show(std::get<0>(first).body);
///
/// **Success** is that of the first to end: its value, as the alternative of a `std::variant` that has its place among
/// them (a `std::monostate` for a future without a value).
/// **Failure** is that of the first to end. Where a failure should not end it, see `whenAnySucceeds`.
/// **Cancellation** of the whole, also by that of a task that awaits it, cancels all of them.
///
/// The whole is completed when the last of them has ended, after its cancellation; see `whenAll` for what that means,
/// and for threads.
template <class... F>
  requires(sizeof...(F) > 0 && (detail::AnyFuture<std::remove_cvref_t<F>> && ...))
auto whenAny(F&&... futures) -> Future<std::variant<detail::Held<detail::ValueIn<F>>...>> {
  return detail::anyOf(detail::Gathering::Goal::firstToEnd, detail::taken(std::forward<F>(futures))...);
}
/// The same for a range of futures of one type: the value with its place in the range. Fails with "NSPOSIXErrorDomain"
/// EINVAL for an empty range.
template <class Range>
  requires(detail::FutureRange<std::remove_cvref_t<Range>>)
auto whenAny(Range&& futures) -> Future<IndexedValue<detail::ValueInRange<Range>>> {
  return detail::anyOf(detail::Gathering::Goal::firstToEnd, detail::takenFrom(std::forward<Range>(futures)));
}

/// Awaits the first of several futures or tasks to succeed, and cancels the others: the same question put to several
/// servers, for instance. It fails only when all have failed, with the first failure. Otherwise the same as `whenAny`.
template <class... F>
  requires(sizeof...(F) > 0 && (detail::AnyFuture<std::remove_cvref_t<F>> && ...))
auto whenAnySucceeds(F&&... futures) -> Future<std::variant<detail::Held<detail::ValueIn<F>>...>> {
  return detail::anyOf(detail::Gathering::Goal::firstToSucceed, detail::taken(std::forward<F>(futures))...);
}
template <class Range>
  requires(detail::FutureRange<std::remove_cvref_t<Range>>)
auto whenAnySucceeds(Range&& futures) -> Future<IndexedValue<detail::ValueInRange<Range>>> {
  return detail::anyOf(detail::Gathering::Goal::firstToSucceed, detail::takenFrom(std::forward<Range>(futures)));
}

// Chosen for what cannot be awaited; do not compile.
template <class... Other>
  requires(sizeof...(Other) > 0 && !(detail::AnyFuture<Other> && ...) && !(detail::FutureRange<Other> && ...))
void whenAny(const Other&...) {
  detail::refuseWhatIsNoFuture<Other...>();
}
template <class... Other>
  requires(sizeof...(Other) > 0 && !(detail::AnyFuture<Other> && ...) && !(detail::FutureRange<Other> && ...))
void whenAnySucceeds(const Other&...) {
  detail::refuseWhatIsNoFuture<Other...>();
}

}  // namespace velisand
