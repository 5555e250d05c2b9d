#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// The domain of errors about files, and its codes. Such an error's user information holds the path under
/// "NSFilePath" and the system's error number under "NSPOSIXErrorCode".
inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";

namespace CocoaErrorCode {
/// The file to move or remove does not exist.
inline constexpr std::int32_t fileNoSuchFile = 4;
/// The file cannot be read, for a reason without a code.
inline constexpr std::int32_t fileReadUnknown = 256;
/// There is no permission to read the file.
inline constexpr std::int32_t fileReadNoPermission = 257;
/// No file can have that name.
inline constexpr std::int32_t fileReadInvalidFileName = 258;
/// The file to read does not exist.
inline constexpr std::int32_t fileReadNoSuchFile = 260;
/// The file cannot be written, for a reason without a code.
inline constexpr std::int32_t fileWriteUnknown = 512;
/// There is no permission to write the file.
inline constexpr std::int32_t fileWriteNoPermission = 513;
/// No file can have that name.
inline constexpr std::int32_t fileWriteInvalidFileName = 514;
/// A file with that name exists already.
inline constexpr std::int32_t fileWriteFileExists = 516;
/// The disk is full.
inline constexpr std::int32_t fileWriteOutOfSpace = 640;
/// The file system is read-only.
inline constexpr std::int32_t fileWriteVolumeReadOnly = 642;
}  // namespace CocoaErrorCode

/// Operations on whole files, by path. Every function blocks; all are safe on any thread. Failures are thrown as
/// `Error` (domain `NSCocoaErrorDomain`) with a message that names the path and the reason.
class CORVANE_API FileManager {
 public:
  FileManager() = delete;

  /// All bytes of a file.
  static Data contents(std::string_view path);
  /// Appends all bytes of a regular file to `data`. Anything else, such as a pipe or a device, fails with
  /// `fileReadUnknown`: it may have no end, and could block for ever.
  static void appendContents(std::string_view path, Data& data);
  /// The same as `contents`, but absent where that throws.
  static std::optional<Data> contentsIfReadable(std::string_view path);
  /// Creates or replaces a file atomically: until every byte is on the disk, the path shows the previous file. The new
  /// file gets the permissions of the file that it replaces. A symbolic link is replaced, not followed.
  static void write(const Data& data, std::string_view path);
  /// Whether a file or a directory with that path exists.
  static bool exists(std::string_view path);
  /// Moves a file, also to another volume; a directory can only be moved within its volume. An existing `target` is not
  /// replaced: the move fails with `fileWriteFileExists`.
  static void move(std::string_view path, std::string_view target);
  /// Removes a file, or a directory with its contents. A symbolic link is removed, not followed.
  static void remove(std::string_view path);

  /// $TMPDIR, or "/tmp", without a slash at the end. A relative path is resolved against the current directory of this
  /// moment.
  static std::string temporaryDirectory();
  /// Creates a new directory in `temporaryDirectory()`, which only this user may enter, and returns its path. The
  /// caller removes it.
  static std::string createTemporaryDirectory();
  /// Creates a directory which only this user may enter; fails if the path exists already. Missing parent directories
  /// are created, too, with the default permissions of the process.
  static void createPrivateDirectory(std::string_view path);
};

}  // namespace platform
