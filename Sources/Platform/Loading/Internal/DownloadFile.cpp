#include "Platform/Loading/Internal/DownloadFile.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/Internal/FileWriting.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

/// How much is written at once. A body comes in pieces of 64 KiB at most. Writing each by itself would cost more than
/// the copy that gathers them, since a file system keeps a file in units that are larger, and walks through a whole one
/// at each write.
constexpr std::size_t gatheringBytes = 128 * 1024;

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
  if (!gathered_) gathered_ = std::make_unique_for_overwrite<std::byte[]>(gatheringBytes);
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), gatheringBytes - gatheredBytes_);
    std::memcpy(gathered_.get() + gatheredBytes_, bytes.data(), count);
    gatheredBytes_ += count;
    bytes = bytes.subspan(count);
    if (gatheredBytes_ < gatheringBytes) continue;
    if (auto failure = writeGathered()) return failure;
  }
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::writeGathered() {
  Bytes bytes(gathered_.get(), std::exchange(gatheredBytes_, 0));
  while (!bytes.empty()) {
    const ssize_t count = writingToFile([&] { return ::write(file_.number(), bytes.data(), bytes.size()); });
    if (count < 0) return failure(URLErrorCode::cannotWriteToFile, systemReason(errno));
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::finish() {
  if (auto failure = writeGathered()) return failure;
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
