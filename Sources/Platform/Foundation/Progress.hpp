#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"

namespace platform {

/// Keys of a progress's user information, for work that is counted in bytes.
namespace ProgressKey {
/// The bytes that are done, and all there are, as integers.
inline constexpr const char* byteCompletedCount = "NSProgressByteCompletedCountKey";
inline constexpr const char* byteTotalCount = "NSProgressByteTotalCountKey";
}  // namespace ProgressKey

/// Keeps an observer of a progress for as long as it lives. Movable.
class CORVANE_API ProgressObservation {
 public:
  ProgressObservation() noexcept = default;
  ProgressObservation(ProgressObservation&& other) noexcept = default;
  ProgressObservation& operator=(ProgressObservation&& other) noexcept;
  ~ProgressObservation() { invalidate(); }

  /// No call begins after this one returned; one that runs on another thread may still be running. Again is fine.
  void invalidate() noexcept;
  /// Whether this keeps an observer.
  explicit operator bool() const noexcept { return observer_ != nullptr; }

 private:
  friend class Progress;
  struct Observer;
  explicit ProgressObservation(std::shared_ptr<Observer> observer) : observer_(std::move(observer)) {}
  std::shared_ptr<Observer> observer_;
};

/// The completed and total amount of a piece of work, in units of its own. Thread-safe; shared by `std::shared_ptr`.
///
/// The worker calls `update`; others read it at any time, or observe it.
class CORVANE_API Progress {
 public:
  /// The total when it is not known.
  static constexpr std::int64_t unknownCount = -1;
  /// Called with the progress that changed.
  using Observer = UniqueFunction<void(const std::shared_ptr<Progress>&)>;

  /// A progress with nothing done and an unknown total.
  static std::shared_ptr<Progress> make();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// How many units are done.
  std::int64_t completedUnitCount() const;
  /// `unknownCount` when it is not known.
  std::int64_t totalUnitCount() const;
  /// Whether the total is not known.
  bool isIndeterminate() const { return totalUnitCount() < 0; }
  /// From 0 to 1; 0 while the total is unknown. Nothing to do, all of it done, is 1.
  double fractionCompleted() const;

  /// What more is known under a key, e.g. `ProgressKey::byteTotalCount`; absent when nothing is.
  std::optional<AnyValue> userInfo(std::string_view key) const;
  /// Sets what is known under a key. Observers are not told.
  void setUserInfo(std::string_view key, AnyValue value);

  /// Sets both counts, and then calls the observers, on the calling thread, when the fraction completed or a
  /// count changed. A negative total means unknown.
  void update(std::int64_t completedUnits, std::int64_t totalUnits);
  /// The same, for work counted in bytes: both are in the user information, too, the
  /// total when it is known.
  void updateBytes(std::int64_t completedBytes, std::int64_t totalBytes);
  /// The same, and calls the observers in any case: the work is done.
  void finishBytes(std::int64_t completedBytes, std::int64_t totalBytes);

  /// Calls the observer for every change from now on, on the thread that makes the change. It should be quick,
  /// and must not throw.
  [[nodiscard]] ProgressObservation observe(Observer observer);
  /// Whether there is an observer.
  bool isObserved() const;

 private:
  struct State;

  Progress();
  bool setBytes(std::int64_t completedBytes, std::int64_t totalBytes);
  void tell();

  std::weak_ptr<Progress> self_;
  const std::unique_ptr<State> state_;
};

}  // namespace platform
