#pragma once

#include <string>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {

/// A file, or an empty directory, that is removed with the value that names it, or else at the process's normal exit,
/// unless it was kept or moved away. Movable.
class CORVANE_API TemporaryFile {
 public:
  TemporaryFile() noexcept = default;
  /// From now on the file at this path is temporary.
  explicit TemporaryFile(std::string path);
  TemporaryFile(TemporaryFile&& other) noexcept : path_(std::exchange(other.path_, {})) {}
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile() { remove(); }

  /// Empty when this value names no file.
  const std::string& path() const noexcept { return path_; }
  /// Requires: this value names a file.
  URL url() const;

  /// Gives the file another name, which becomes the caller's to remove. Throws what `FileManager::move` throws;
  /// then the file is where it was, and temporary still.
  void moveTo(const std::string& path);
  /// Leaves the file where it is, for the caller to remove.
  void keep() noexcept;
  /// Removes the file, if this names one; what cannot be removed stays.
  void remove() noexcept;

 private:
  std::string path_;
};

}  // namespace platform
