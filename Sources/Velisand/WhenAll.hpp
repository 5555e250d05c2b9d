#pragma once

#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "Velisand/Detail/Gathering.hpp"

namespace velisand {

namespace detail {

template <class... T>
class AllOf final : public GatheringOf<std::tuple<Held<T>...>> {
  using Base = GatheringOf<std::tuple<Held<T>...>>;

 public:
  explicit AllOf(Future<std::tuple<Held<T>...>> whole) : Base(Base::Goal::all, std::move(whole)) {}

  template <std::size_t... index>
  void await(std::index_sequence<index...>, const Future<T>&... parts) {
    this->begin(statesOf(parts...));
    (Base::await(parts, [this](const Result<T>& result) { std::get<index>(values_).emplace(valueOf(result)); }), ...);
  }

 private:
  void succeed() override {
    this->whole_.markCompletion(
        std::apply([](auto&... values) { return std::tuple<Held<T>...>(*std::move(values)...); }, values_));
  }

  std::tuple<std::optional<Held<T>>...> values_;
};

template <class T>
struct ListOf {
  using Type = std::vector<T>;
};
template <>
struct ListOf<void> {
  using Type = void;
};

template <class T>
class AllOfList final : public GatheringOf<typename ListOf<T>::Type> {
  using Base = GatheringOf<typename ListOf<T>::Type>;

 public:
  explicit AllOfList(Future<typename ListOf<T>::Type> whole) : Base(Base::Goal::all, std::move(whole)) {}

  void await(const std::vector<Future<T>>& parts) {
    values_.resize(parts.size());
    this->begin(statesOf(parts));
    for (std::size_t index = 0; index < parts.size(); ++index)
      Base::await(parts[index], [this, index](const Result<T>& result) { values_[index].emplace(valueOf(result)); });
  }

 private:
  void succeed() override {
    if constexpr (std::is_void_v<T>) {
      this->whole_.markCompletion();
    } else {
      std::vector<T> values;
      values.reserve(values_.size());
      for (auto& value : values_) values.push_back(*std::move(value));
      this->whole_.markCompletion(std::move(values));
    }
  }

  std::vector<std::optional<Held<T>>> values_;
};

template <class... T>
Future<std::tuple<Held<T>...>> allOf(const Future<T>&... parts) {
  const Future<std::tuple<Held<T>...>> whole;
  std::make_shared<AllOf<T...>>(whole)->await(std::index_sequence_for<T...>(), parts...);
  return whole;
}

template <class T>
Future<typename ListOf<T>::Type> allOf(const std::vector<Future<T>>& parts) {
  const Future<typename ListOf<T>::Type> whole;
  if (!parts.empty()) {
    std::make_shared<AllOfList<T>>(whole)->await(parts);
  } else if constexpr (std::is_void_v<T>) {
    whole.markCompletion();
  } else {
    whole.markCompletion(std::vector<T>());
  }
  return whole;
}

}  // namespace detail

/// Awaits futures or tasks together: a future of all their values.
///
///     const auto [user, teams] = co_await whenAll(getUser.send(), getTeams.send());
///
/// **Success** is when all succeed. The value of a future without one is a `std::monostate`.
/// **Failure:** the first failure cancels the others, and is the failure of the whole.
/// **Cancellation** of the whole, also by that of a task that awaits it, cancels all of them.
///
/// In each case the whole is completed when the last of them has ended: nothing is left running. One that does not heed
/// its cancellation is waited for. One that cannot end any more, since it and its maker are gone, has failed with
/// "NSURLErrorDomain" -999: that of a request whose `shouldSend` is false, unless you keep it.
///
/// No thread waits. The whole is completed on the thread on which the last of them ends; like every future it calls
/// callbacks on their queues, and a task resumes where it awaited. To drop the whole cancels nothing.
template <class... F>
  requires(sizeof...(F) > 0 && (detail::AnyFuture<std::remove_cvref_t<F>> && ...))
auto whenAll(F&&... futures) -> Future<std::tuple<detail::Held<detail::ValueIn<F>>...>> {
  return detail::allOf(detail::taken(std::forward<F>(futures))...);
}

/// The same for a range of futures of one type, as a `std::vector` of them: a future of the list of their values, in
/// the order of the range, or a `Future<void>` for futures without values. It is completed at once for an empty range.
template <class Range>
  requires(detail::FutureRange<std::remove_cvref_t<Range>>)
auto whenAll(Range&& futures) -> Future<typename detail::ListOf<detail::ValueInRange<Range>>::Type> {
  return detail::allOf(detail::takenFrom(std::forward<Range>(futures)));
}

// Chosen for what cannot be awaited; does not compile.
template <class... Other>
  requires(sizeof...(Other) > 0 && !(detail::AnyFuture<Other> && ...) && !(detail::FutureRange<Other> && ...))
void whenAll(const Other&...) {
  detail::refuseWhatIsNoFuture<Other...>();
}

}  // namespace velisand
