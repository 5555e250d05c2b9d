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
/// Nothing is there that could be moved or removed.
inline constexpr std::int32_t fileNoSuchFile = 4;
/// It cannot be read, for a reason without a name.
inline constexpr std::int32_t fileReadUnknown = 256;
/// It may not be read.
inline constexpr std::int32_t fileReadNoPermission = 257;
/// No file can have that name.
inline constexpr std::int32_t fileReadInvalidFileName = 258;
/// There is no such file.
inline constexpr std::int32_t fileReadNoSuchFile = 260;
/// It cannot be written, for a reason without a name.
inline constexpr std::int32_t fileWriteUnknown = 512;
/// It may not be written.
inline constexpr std::int32_t fileWriteNoPermission = 513;
/// No file can have that name.
inline constexpr std::int32_t fileWriteInvalidFileName = 514;
/// Something of that name is there already.
inline constexpr std::int32_t fileWriteFileExists = 516;
/// The disk is full.
inline constexpr std::int32_t fileWriteOutOfSpace = 640;
/// The file system is read-only.
inline constexpr std::int32_t fileWriteVolumeReadOnly = 642;
}  // namespace CocoaErrorCode

/// Files as requests need them: whole, by path. Every function blocks; all are safe on any thread. Failures
/// are thrown as `Error` with a message that names the path and the reason.
class CORVANE_API FileManager {
 public:
  FileManager() = delete;

  /// All bytes of a file.
  static Data contents(std::string_view path);
  /// Adds all bytes of a regular file at the end. What is no such file, as a pipe or a device, fails with
  /// `fileReadUnknown`: it may have no end, and could block for ever.
  static void appendContents(std::string_view path, Data& data);
  /// The same, absent where `contents` throws.
  static std::optional<Data> contentsIfReadable(std::string_view path);
  /// Makes or replaces a file, all or nothing: until every byte is on the disk, the path shows what was there
  /// before. A file that is replaced passes on its permissions; a symbolic link is replaced, not followed.
  static void write(const Data& data, std::string_view path);
  /// Whether there is a file or a directory.
  static bool exists(std::string_view path);
  /// Gives a file another name, on whichever volume; a directory can only be moved within its own. What is at
  /// `target` already stays, and the move fails with `fileWriteFileExists`.
  static void move(std::string_view path, std::string_view target);
  /// Removes a file, or a directory with all that is in it. A symbolic link is removed, not followed.
  static void remove(std::string_view path);

  /// $TMPDIR, or "/tmp", without a slash at the end. A relative one is taken from the current directory, as it is now.
  static std::string temporaryDirectory();
  /// A fresh directory inside, which only this user may enter. The caller removes it.
  static std::string createTemporaryDirectory();
  /// Makes a directory which only this user may enter; fails where there is something already. Directories above
  /// it that are missing are made, too, with the permissions that the process gives to new ones.
  static void createPrivateDirectory(std::string_view path);
};

}  // namespace platform
