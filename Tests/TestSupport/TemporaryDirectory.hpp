#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace corvane::testkit {

/// A new directory that disappears, with all that is in it, when its owner does. A forked child leaves it to its
/// parent.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
  /// Writes a file and returns its path.
  std::string write(std::string_view name, std::string_view bytes) const;
  /// The bytes of a file; throws when there is none.
  std::string read(std::string_view name) const;

 private:
  std::filesystem::path path_;
  const pid_t process_;
};

}  // namespace corvane::testkit
