#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

/// A regular file that is open for reading. Messages name its path.
class ReadableFile {
 public:
  /// Failures: -1100 (there is none), -1101 (a directory), -1102 (no permission), -1008 (not a regular file, and
  /// anything else).
  std::optional<LoadFailure> open(const std::string& path);

  const std::string& path() const { return path_; }
  int descriptor() const { return descriptor_.number(); }
  /// When it was opened.
  std::int64_t size() const { return size_; }
  /// As it is now; absent when the system does not tell.
  std::optional<std::int64_t> currentSize() const;
  /// Fills the room from `offset` on, as far as the file and the moment go; none at the end.
  std::variant<std::size_t, LoadFailure> read(std::int64_t offset, std::span<std::byte> room) const;

 private:
  LoadFailure failure(int systemError) const;

  std::string path_;
  FileDescriptor descriptor_;
  std::int64_t size_ = 0;
};

}  // namespace platform::detail
