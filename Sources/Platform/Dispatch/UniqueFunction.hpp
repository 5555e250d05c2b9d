#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace platform {

/// A callable with that signature; see the specialisation.
///
///     UniqueFunction<int(int)> twice = [](int number) { return 2 * number; };
template <class Signature>
class UniqueFunction;

/// A callable that is moved, never copied; small callables are stored in place, without an allocation. Constructed from
/// an empty `std::function` or a null function pointer, it is empty.
template <class R, class... Args>
class UniqueFunction<R(Args...)> {
 public:
  UniqueFunction() noexcept = default;
  UniqueFunction(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)
  template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, UniqueFunction> &&
             std::is_invocable_r_v<R, std::decay_t<F>&, Args...>)
  UniqueFunction(F&& function) {  // NOLINT(google-explicit-constructor)
    using Held = std::decay_t<F>;
    if (isEmpty<Held>(function)) return;
    if constexpr (fits<Held>()) {
      ::new (static_cast<void*>(&storage_)) Held(std::forward<F>(function));
      table_ = &inPlace<Held>;
    } else {
      ::new (static_cast<void*>(&storage_)) Held*(new Held(std::forward<F>(function)));
      table_ = &onHeap<Held>;
    }
  }
  UniqueFunction(UniqueFunction&& other) noexcept { take(other); }
  UniqueFunction& operator=(UniqueFunction&& other) noexcept {
    if (this != &other) {
      reset();
      take(other);
    }
    return *this;
  }
  UniqueFunction(const UniqueFunction&) = delete;
  UniqueFunction& operator=(const UniqueFunction&) = delete;
  ~UniqueFunction() { reset(); }

  explicit operator bool() const noexcept { return table_ != nullptr; }
  /// Requires: not empty.
  R operator()(Args... args) { return table_->call(&storage_, std::forward<Args>(args)...); }

 private:
  struct Table {
    R (*call)(void*, Args&&...);
    void (*move)(void* from, void* to) noexcept;
    void (*destroy)(void*) noexcept;
  };

  static constexpr std::size_t room = 6 * sizeof(void*);
  template <class Held>
  static constexpr bool fits() {
    return sizeof(Held) <= room && alignof(Held) <= alignof(std::max_align_t) &&
           std::is_nothrow_move_constructible_v<Held>;
  }
  template <class Held>
  static bool isEmpty(const Held& function) {
    if constexpr (std::is_pointer_v<Held> || std::is_member_pointer_v<Held>) {
      return function == nullptr;
    } else if constexpr (requires { function.operator bool(); }) {
      return !function;
    } else {
      return false;
    }
  }
  template <class Held>
  static R invoke(Held& held, Args&&... args) {
    if constexpr (std::is_void_v<R>) {
      held(std::forward<Args>(args)...);
    } else {
      return held(std::forward<Args>(args)...);
    }
  }
  template <class Held>
  static constexpr Table inPlace{
      [](void* self, Args&&... args) -> R { return invoke(*static_cast<Held*>(self), std::forward<Args>(args)...); },
      [](void* from, void* to) noexcept {
        ::new (to) Held(std::move(*static_cast<Held*>(from)));
        static_cast<Held*>(from)->~Held();
      },
      [](void* self) noexcept { static_cast<Held*>(self)->~Held(); }};
  template <class Held>
  static constexpr Table onHeap{
      [](void* self, Args&&... args) -> R { return invoke(**static_cast<Held**>(self), std::forward<Args>(args)...); },
      [](void* from, void* to) noexcept { ::new (to) Held*(*static_cast<Held**>(from)); },
      [](void* self) noexcept { delete *static_cast<Held**>(self); }};

  void take(UniqueFunction& other) noexcept {
    table_ = other.table_;
    if (table_) table_->move(&other.storage_, &storage_);
    other.table_ = nullptr;
  }
  void reset() noexcept {
    if (table_) table_->destroy(&storage_);
    table_ = nullptr;
  }

  const Table* table_ = nullptr;
  alignas(std::max_align_t) std::byte storage_[room];
};

/// A unit of work on a queue.
using Block = UniqueFunction<void()>;

}  // namespace platform
