#include "Platform/Foundation/FileManager.hpp"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/Internal/FileWriting.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace platform {

namespace {

using detail::FileDescriptor;
using detail::uninterrupted;
using detail::writingToFile;

std::int32_t readCode(int number) {
  switch (number) {
    case ENOENT:
      return CocoaErrorCode::fileReadNoSuchFile;
    case EACCES:
    case EPERM:
      return CocoaErrorCode::fileReadNoPermission;
    case EINVAL:
    case ENAMETOOLONG:
      return CocoaErrorCode::fileReadInvalidFileName;
    default:
      return CocoaErrorCode::fileReadUnknown;
  }
}

std::int32_t writeCode(int number) {
  switch (number) {
    case ENOENT:
      return CocoaErrorCode::fileNoSuchFile;
    case EACCES:
    case EPERM:
      return CocoaErrorCode::fileWriteNoPermission;
    case EINVAL:
    case ENAMETOOLONG:
      return CocoaErrorCode::fileWriteInvalidFileName;
    case EEXIST:
      return CocoaErrorCode::fileWriteFileExists;
    case ENOSPC:
    case EDQUOT:
      return CocoaErrorCode::fileWriteOutOfSpace;
    case EROFS:
      return CocoaErrorCode::fileWriteVolumeReadOnly;
    default:
      return CocoaErrorCode::fileWriteUnknown;
  }
}

Error makeError(std::int32_t code, std::string_view path, const char* failure, int number) {
  std::string message = "\"" + std::string(path) + "\" " + failure + ": " + std::generic_category().message(number);
  return {NSCocoaErrorDomain, code, std::move(message), {{"NSFilePath", path}, {"NSPOSIXErrorCode", number}}};
}

[[noreturn]] void throwReadError(std::string_view path, int number) {
  throw makeError(readCode(number), path, "could not be read", number);
}

[[noreturn]] void throwWriteError(std::string_view path, int number) {
  throw makeError(writeCode(number), path, "could not be written", number);
}

/// The path for the system, or absent when a NUL would cut it off.
std::optional<std::string> terminated(std::string_view path) {
  if (path.find('\0') != std::string_view::npos) return std::nullopt;
  return std::string(path);
}

/// Reads to the end, after what is there. Returns an error number.
int readAll(const FileDescriptor& file, Data& data) {
  struct stat status;
  if (::fstat(file.number(), &status) != 0) return errno;
  // The size is a hint: it is 0 for pipes, and a file may grow. One byte more lets the end show at once.
  std::size_t room = status.st_size > 0 ? static_cast<std::size_t>(status.st_size) + 1 : 4096;
  std::size_t filled = data.count();
  while (true) {
    data.resize(filled + room);
    std::byte* target = data.mutableBytes() + filled;
    const ssize_t count = uninterrupted([&] { return ::read(file.number(), target, room); });
    if (count < 0) return errno;
    filled += static_cast<std::size_t>(count);
    data.resize(filled);
    if (count == 0) return 0;
    room = data.capacity() > filled ? data.capacity() - filled : filled;
  }
}

/// Returns an error number.
int writeAll(FileDescriptor& file, const Data& data) {
  std::size_t written = 0;
  while (written < data.count()) {
    const ssize_t count =
        writingToFile([&] { return ::write(file.number(), data.bytes() + written, data.count() - written); });
    if (count < 0) return errno;
    written += static_cast<std::size_t>(count);
  }
  if (::fsync(file.number()) != 0 && errno != EINVAL) return errno;
  return file.close();
}

std::string siblingName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return path.substr(0, slash == std::string::npos ? 0 : slash + 1) + "." + UUID().uuidString();
}

/// Writes a file that is not there yet, with the permissions of the one it will replace. Returns an error number.
int writeFresh(const std::string& path, const std::string& replaced, const Data& data) {
  FileDescriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); }));
  if (!file.isOpen()) return errno;
  struct stat status;
  if (::stat(replaced.c_str(), &status) == 0 && ::fchmod(file.number(), status.st_mode & 07777) != 0) return errno;
  return writeAll(file, data);
}

/// Makes a directory, and those above it that are missing. Returns an error number.
int makeDirectory(const std::string& path, mode_t mode) {
  if (::mkdir(path.c_str(), mode) == 0) return 0;
  if (errno != ENOENT) return errno;
  const std::size_t nameEnd = path.find_last_not_of('/');
  const std::size_t slash = nameEnd == std::string::npos ? nameEnd : path.rfind('/', nameEnd);
  if (slash == std::string::npos || slash == 0) return ENOENT;
  const int number = makeDirectory(path.substr(0, slash), 0777);
  // Another process may have made the same directory meanwhile.
  if (number != 0 && number != EEXIST) return number;
  return ::mkdir(path.c_str(), mode) == 0 ? 0 : errno;
}

/// Returns an error number; EEXIST when there is something at `target`.
int renameToFreeName(const std::string& path, const std::string& target) {
  if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system that cannot refuse to replace: a second name can only be made where there is none.
  if (::link(path.c_str(), target.c_str()) != 0) return errno;
  ::unlink(path.c_str());
  return 0;
}

/// Returns an error number.
int copyAll(const FileDescriptor& source, const FileDescriptor& copy) {
  constexpr std::size_t pieceBytes = std::size_t{64} << 20;
  while (true) {
    const ssize_t count =
        writingToFile([&] { return ::sendfile(copy.number(), source.number(), nullptr, pieceBytes); });
    if (count < 0) return errno;
    if (count == 0) return 0;
  }
}

/// Copies a regular file, with its permissions. Returns an error number; what was written in part is removed.
int copyToFreeName(const std::string& path, const std::string& target) {
  const FileDescriptor source(
      uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW); }));
  struct stat facts{};
  if (!source.isOpen() || ::fstat(source.number(), &facts) != 0) return errno;
  if (!S_ISREG(facts.st_mode)) return S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
  FileDescriptor copy(
      uninterrupted([&] { return ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); }));
  if (!copy.isOpen()) return errno;
  int number = copyAll(source, copy);
  if (number == 0 && ::fchmod(copy.number(), facts.st_mode & 07777) != 0) number = errno;
  if (const int closing = copy.close(); number == 0) number = closing;
  if (number != 0) ::unlink(target.c_str());
  return number;
}

}  // namespace

Data FileManager::contents(std::string_view path) {
  const auto name = terminated(path);
  if (!name) throwReadError(path, EINVAL);
  const FileDescriptor file(uninterrupted([&] { return ::open(name->c_str(), O_RDONLY | O_CLOEXEC); }));
  if (!file.isOpen()) throwReadError(path, errno);
  Data data;
  const int number = readAll(file, data);
  if (number != 0) throwReadError(path, number);
  return data;
}

void FileManager::appendContents(std::string_view path, Data& data) {
  const auto name = terminated(path);
  if (!name) throwReadError(path, EINVAL);
  // Without O_NONBLOCK a pipe would hold up the caller until somebody writes into it.
  const FileDescriptor file(
      uninterrupted([&] { return ::open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
  struct stat facts{};
  if (!file.isOpen() || ::fstat(file.number(), &facts) != 0) throwReadError(path, errno);
  if (S_ISDIR(facts.st_mode)) throwReadError(path, EISDIR);
  if (!S_ISREG(facts.st_mode)) {
    throw Error(NSCocoaErrorDomain, CocoaErrorCode::fileReadUnknown,
                "\"" + std::string(path) + "\" could not be read: it is no regular file", {{"NSFilePath", path}});
  }
  if (const int number = readAll(file, data); number != 0) throwReadError(path, number);
}

std::optional<Data> FileManager::contentsIfReadable(std::string_view path) try {
  return contents(path);
} catch (const Error&) {
  return std::nullopt;
}

void FileManager::write(const Data& data, std::string_view path) {
  const auto name = terminated(path);
  if (!name) throwWriteError(path, EINVAL);
  const std::string fresh = siblingName(*name);
  int number = writeFresh(fresh, *name, data);
  if (number == 0 && ::rename(fresh.c_str(), name->c_str()) != 0) number = errno;
  if (number == 0) return;
  ::unlink(fresh.c_str());
  throwWriteError(path, number);
}

bool FileManager::exists(std::string_view path) {
  const auto name = terminated(path);
  return name && ::access(name->c_str(), F_OK) == 0;
}

void FileManager::move(std::string_view path, std::string_view target) {
  constexpr const char* failure = "could not be moved to its new place";
  const auto from = terminated(path);
  const auto to = terminated(target);
  if (!from || !to) throw makeError(CocoaErrorCode::fileWriteInvalidFileName, from ? target : path, failure, EINVAL);
  int number = renameToFreeName(*from, *to);
  if (number == EXDEV) {
    number = copyToFreeName(*from, *to);
    if (number == 0) ::unlink(from->c_str());
  }
  if (number != 0) throw makeError(writeCode(number), number == EEXIST ? target : path, failure, number);
}

void FileManager::remove(std::string_view path) {
  constexpr const char* failure = "could not be removed";
  const auto name = terminated(path);
  if (!name) throw makeError(CocoaErrorCode::fileWriteInvalidFileName, path, failure, EINVAL);
  std::error_code error;
  const auto count = std::filesystem::remove_all(*name, error);
  const int number = error ? error.value() : count == 0 ? ENOENT : 0;
  if (number != 0) throw makeError(writeCode(number), path, failure, number);
}

std::string FileManager::temporaryDirectory() {
  const char* variable = std::getenv("TMPDIR");
  std::string path = variable != nullptr && *variable != '\0' ? variable : "/tmp";
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  // A stored path leads to the same place after a change of the current directory.
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

std::string FileManager::createTemporaryDirectory() {
  std::string path = temporaryDirectory() + "/corvane-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) throwWriteError(path, errno);
  return path;
}

void FileManager::createPrivateDirectory(std::string_view path) {
  constexpr const char* failure = "could not be made";
  const auto name = terminated(path);
  const int number = name ? makeDirectory(*name, 0700) : EINVAL;
  if (number != 0) throw makeError(writeCode(number), path, failure, number);
}

}  // namespace platform
