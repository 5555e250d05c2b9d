#include "Platform/Loading/Internal/DownloadFile.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

std::string systemReason(int number) { return std::generic_category().message(number); }

}  // namespace

std::optional<LoadFailure> DownloadFile::open() {
  constexpr std::string_view suffix = ".tmp";
  std::string path = FileManager::temporaryDirectory() + "/CorvaneDownload_XXXXXX" + std::string(suffix);
  file_ = FileDescriptor(
      uninterrupted([&] { return ::mkostemps(path.data(), static_cast<int>(suffix.size()), O_CLOEXEC); }));
  if (!file_.isOpen()) {
    return LoadFailure{
        URLErrorCode::cannotCreateFile,
        "no file for the download can be made in " + FileManager::temporaryDirectory() + ": " + systemReason(errno)};
  }
  name_ = TemporaryFile(std::move(path));
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::take(Bytes bytes) {
  while (!bytes.empty()) {
    const ssize_t count = uninterrupted([&] { return ::write(file_.number(), bytes.data(), bytes.size()); });
    if (count < 0) return failure(URLErrorCode::cannotWriteToFile, systemReason(errno));
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::finish() {
  const bool isInPlace = isAtItsPath();
  if (const int number = file_.close(); number != 0)
    return failure(URLErrorCode::cannotCloseFile, systemReason(number));
  if (isInPlace) return std::nullopt;
  auto result = failure(URLErrorCode::cannotWriteToFile, "it was removed while it was being written");
  name_.keep();  // what is there now, if anything, is another's
  return result;
}

bool DownloadFile::isAtItsPath() const {
  struct stat own{};
  struct stat there{};
  return ::fstat(file_.number(), &own) == 0 && ::lstat(name_.path().c_str(), &there) == 0 &&
         own.st_ino == there.st_ino && own.st_dev == there.st_dev;
}

LoadFailure DownloadFile::failure(std::int32_t code, const std::string& reason) const {
  return {code, "the download cannot be written to " + name_.path() + ": " + reason};
}

}  // namespace platform::detail
