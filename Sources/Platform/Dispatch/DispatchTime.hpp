#pragma once

#include <compare>

namespace platform {

/// Seconds as a floating-point number, the unit of every interval in the library. Numbers and all
/// `std::chrono` durations convert to it; `<chrono>` itself is not needed here and not included.
class Seconds {
 public:
  constexpr Seconds() noexcept = default;
  /// This number of seconds.
  constexpr Seconds(double count) noexcept : count_(count) {}  // NOLINT(google-explicit-constructor)
  template <class Duration>
    requires requires(const Duration& duration) {
      duration.count();
      Duration::period::num;
      Duration::period::den;
    }
  /// A `std::chrono` duration, or a type with the same members.
  constexpr Seconds(const Duration& duration) noexcept  // NOLINT(google-explicit-constructor)
      : count_(static_cast<double>(duration.count()) * static_cast<double>(Duration::period::num) /
               static_cast<double>(Duration::period::den)) {}

  /// An infinite interval: no limit.
  static constexpr Seconds unlimited() noexcept { return __builtin_huge_val(); }

  /// The number of seconds.
  constexpr double count() const noexcept { return count_; }

  /// Adds to this value.
  constexpr Seconds& operator+=(Seconds other) noexcept {
    count_ += other.count_;
    return *this;
  }
  /// Subtracts from this value.
  constexpr Seconds& operator-=(Seconds other) noexcept {
    count_ -= other.count_;
    return *this;
  }
  /// The negated interval.
  constexpr Seconds operator-() const noexcept { return -count_; }
  /// Sums, differences, multiples and parts are seconds; the quotient of two is a number.
  friend constexpr Seconds operator+(Seconds left, Seconds right) noexcept { return left.count_ + right.count_; }
  /// The difference.
  friend constexpr Seconds operator-(Seconds left, Seconds right) noexcept { return left.count_ - right.count_; }
  /// The multiple.
  friend constexpr Seconds operator*(Seconds left, double factor) noexcept { return left.count_ * factor; }
  friend constexpr Seconds operator*(double factor, Seconds right) noexcept { return factor * right.count_; }
  /// The part, and the quotient of two as a number.
  friend constexpr Seconds operator/(Seconds left, double divisor) noexcept { return left.count_ / divisor; }
  friend constexpr double operator/(Seconds left, Seconds right) noexcept { return left.count_ / right.count_; }
  friend constexpr auto operator<=>(Seconds left, Seconds right) noexcept = default;
  friend constexpr bool operator==(Seconds left, Seconds right) noexcept = default;

 private:
  double count_ = 0;
};

}  // namespace platform
