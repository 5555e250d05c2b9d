#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

/// Where a download is to be in the end.
class DestinationPath {
 public:
  /// A relative path is resolved now.
  explicit DestinationPath(const DownloadDestination& destination);

  /// Absolute.
  const std::string& path() const { return path_; }
  /// Without a slash at the end, but for "/" itself.
  std::string directory() const;

  /// Why nothing can be saved here, as far as that shows before there is anything to save; -3000.
  std::optional<LoadFailure> problem() const;
  /// Opens a new file of the same directory for what is to be saved here, with these flags and O_CREAT | O_EXCL. Only
  /// those can read it who can read the file that it is to replace. Not open, with `errno`, where that fails.
  FileDescriptor make(const std::string& file, int flags, mode_t permissions = 0666) const;
  /// Gives an open file the permissions of the file that it is to replace, if there is one, and these in addition, but
  /// none of those that are withheld. Set-user-ID and the like are no permissions: they are not for new content.
  void givePermissions(const FileDescriptor& file, mode_t added = 0, mode_t withheld = 0) const;
  /// Gives the place to a complete file of the same directory. What took the place of another file stays. -3005 where
  /// that fails, as when the place was taken meanwhile; the file then is where it was.
  std::variant<TemporaryFile, LoadFailure> take(const std::string& file) const;

  LoadFailure failure(std::int32_t code, const std::string& reason) const;

 private:
  std::string obstacle() const;
  std::optional<mode_t> replacedPermissions() const;

  std::string path_;
  bool overwrites_;
};

/// What the system says of an error number.
std::string systemReason(int number);

}  // namespace platform::detail
