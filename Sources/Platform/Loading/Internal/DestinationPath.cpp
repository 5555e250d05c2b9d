#include "Platform/Loading/Internal/DestinationPath.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

std::string absoluteDestination(const std::string& path) {
  std::error_code error;
  const std::filesystem::path result = std::filesystem::absolute(path, error);
  return error ? path : result.string();
}

}  // namespace

DestinationPath::DestinationPath(const DownloadDestination& destination)
    : path_(destination.path.empty() ? std::string() : absoluteDestination(destination.path)),
      overwrites_(destination.overwrites) {}

std::string DestinationPath::directory() const {
  const std::size_t slash = path_.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path_.substr(0, slash);
}

std::optional<LoadFailure> DestinationPath::problem() const {
  if (path_.empty()) return LoadFailure{URLErrorCode::cannotCreateFile, "the path to save the download as is empty"};
  if (const std::string reason = obstacle(); !reason.empty()) return failure(URLErrorCode::cannotCreateFile, reason);
  return std::nullopt;
}

/// Empty when there is none.
std::string DestinationPath::obstacle() const {
  if (path_.find('\0') != std::string::npos) return "no path has a NUL";
  struct stat facts{};
  // With a slash, only a directory will do; without permission to write there, nothing can be made or renamed.
  if (::access((directory() + "/").c_str(), W_OK | X_OK) != 0)
    return "the directory " + directory() + " cannot be written: " + systemReason(errno);
  if (path_.ends_with('/')) return "it is a directory";
  if (::lstat(path_.c_str(), &facts) != 0) return errno == ENOENT ? "" : systemReason(errno);
  if (S_ISDIR(facts.st_mode)) return "it is a directory";
  if (S_ISLNK(facts.st_mode)) return "it is a symbolic link; name the file that it leads to";
  if (!S_ISREG(facts.st_mode)) return "it is no regular file";
  return overwrites_ ? "" : "the file exists already";
}

/// Of the file that is to be replaced; absent when there is none.
std::optional<mode_t> DestinationPath::replacedPermissions() const {
  struct stat replaced{};
  if (!overwrites_ || ::lstat(path_.c_str(), &replaced) != 0) return std::nullopt;
  return replaced.st_mode & 0777;
}

FileDescriptor DestinationPath::make(const std::string& file, int flags, mode_t permissions) const {
  const mode_t mode = (replacedPermissions().value_or(0666) | 0600) & permissions;
  return FileDescriptor(
      uninterrupted([&] { return ::open(file.c_str(), flags | O_CREAT | O_EXCL | O_CLOEXEC, mode); }));
}

/// Some file systems have no permissions to give; the file is of use without them.
void DestinationPath::givePermissions(const FileDescriptor& file, mode_t added, mode_t withheld) const {
  if (const auto replaced = replacedPermissions())
    static_cast<void>(::fchmod(file.number(), (*replaced | added) & ~withheld));
}

std::variant<TemporaryFile, LoadFailure> DestinationPath::take(const std::string& file) const {
  if (const std::string reason = obstacle(); !reason.empty()) return failure(URLErrorCode::cannotMoveFile, reason);
  if (!overwrites_) {
    try {
      FileManager::move(file, path_);  // never over another file, even one that came just now
      return TemporaryFile(path_);
    } catch (const Error& error) {
      return failure(URLErrorCode::cannotMoveFile, error.message());
    }
  }
  const bool replacesAnother = replacedPermissions().has_value();
  if (std::rename(file.c_str(), path_.c_str()) == 0)
    return replacesAnother ? TemporaryFile::staying(path_) : TemporaryFile(path_);
  return failure(URLErrorCode::cannotMoveFile, systemReason(errno));
}

LoadFailure DestinationPath::failure(std::int32_t code, const std::string& reason) const {
  return {code, "the download cannot be saved as " + path_ + ": " + reason};
}

std::string systemReason(int number) { return std::generic_category().message(number); }

}  // namespace platform::detail
