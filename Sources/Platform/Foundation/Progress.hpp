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
/// The completed and the total number of bytes, as integers.
inline constexpr const char* byteCompletedCount = "NSProgressByteCompletedCountKey";
inline constexpr const char* byteTotalCount = "NSProgressByteTotalCountKey";
}  // namespace ProgressKey

/// Keeps an observer of a progress registered as long as it exists. Movable.
class CORVANE_API ProgressObservation {
 public:
  ProgressObservation() noexcept = default;
  ProgressObservation(ProgressObservation&& other) noexcept = default;
  ProgressObservation& operator=(ProgressObservation&& other) noexcept;
  ~ProgressObservation() { invalidate(); }

  /// Unregisters the observer. No call of it begins afterwards; a call on another thread may still be running. May be
  /// called repeatedly.
  void invalidate() noexcept;
  /// Whether this object keeps an observer.
  explicit operator bool() const noexcept { return observer_ != nullptr; }

 private:
  friend class Progress;
  struct Observer;
  explicit ProgressObservation(std::shared_ptr<Observer> observer) : observer_(std::move(observer)) {}
  std::shared_ptr<Observer> observer_;
};

/// The completed and total amount of a piece of work, in units of your choice. Thread-safe; shared by
/// `std::shared_ptr`.
///
/// The code that does the work calls `update`; other code reads the progress at any time, or observes it.
class CORVANE_API Progress {
 public:
  /// The total while it is unknown.
  static constexpr std::int64_t unknownCount = -1;
  /// Called with the progress that changed.
  using Observer = UniqueFunction<void(const std::shared_ptr<Progress>&)>;

  /// A progress with nothing done and an unknown total.
  static std::shared_ptr<Progress> make();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// The number of completed units.
  std::int64_t completedUnitCount() const;
  /// The number of units in total; `unknownCount` while it is unknown.
  std::int64_t totalUnitCount() const;
  /// Whether the total is unknown.
  bool isIndeterminate() const { return totalUnitCount() < 0; }
  /// From 0 to 1; 0 while the total is unknown, 1 when the total is 0.
  double fractionCompleted() const;

  /// Further information under a key, e.g. `ProgressKey::byteTotalCount`; absent if there is none.
  std::optional<AnyValue> userInfo(std::string_view key) const;
  /// Sets the information under a key. Does not call observers.
  void setUserInfo(std::string_view key, AnyValue value);

  /// Sets both counts, and then calls the observers, on the calling thread, when the fraction completed or a
  /// count changed. A negative total means unknown.
  void update(std::int64_t completedUnits, std::int64_t totalUnits);
  /// The same as `update`, for work counted in bytes: sets the user information, too, with the total if it is known.
  void updateBytes(std::int64_t completedBytes, std::int64_t totalBytes);
  /// The same as `updateBytes` when the work is complete: calls the observers even if nothing changed.
  void finishBytes(std::int64_t completedBytes, std::int64_t totalBytes);

  /// Calls the observer for every change from now on, on the thread that makes the change. The observer should be
  /// quick, and must not throw. It stays registered as long as the returned object exists.
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
