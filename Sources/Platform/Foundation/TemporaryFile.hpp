#pragma once

#include <string>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// A file, or an empty directory, that is removed when this value is destroyed, or else at the normal exit of the
/// process, unless it was kept or moved. Movable.
///
///     TemporaryFile file("/tmp/draft");
///     write(file.path());
///     file.moveTo("/home/ada/letter");  // otherwise it would be removed
class CORVANE_API TemporaryFile {
 public:
  TemporaryFile() noexcept = default;
  /// Makes the file at this path temporary.
  explicit TemporaryFile(std::string path);
  /// Names a file that stays: one that took the place of another, so that removing it would leave neither.
  static TemporaryFile staying(std::string path);
  TemporaryFile(TemporaryFile&& other) noexcept
      : path_(std::exchange(other.path_, {})), stays_(std::exchange(other.stays_, false)) {}
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile() { remove(); }

  /// Empty when this value names no file.
  const std::string& path() const noexcept { return path_; }
  /// Requires: this value names a file.
  URL url() const;

  /// Moves the file; from then on the caller has to remove it. Throws what `FileManager::move` throws; the file then
  /// stays where it was, and stays temporary.
  void moveTo(const std::string& path);
  /// Leaves the file in place; the caller has to remove it.
  void keep() noexcept;
  /// Removes the file, if this value names one, unless it is to stay. Failures are ignored.
  void remove() noexcept;

 private:
  std::string path_;
  bool stays_ = false;
};

}  // namespace platform
