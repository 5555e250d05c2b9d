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
  struct stat facts{};
  const bool isGone = ::fstat(file_.number(), &facts) == 0 && facts.st_nlink == 0;
  if (const int number = file_.close(); number != 0)
    return failure(URLErrorCode::cannotCloseFile, systemReason(number));
  if (isGone) return failure(URLErrorCode::cannotWriteToFile, "it was removed while it was being written");
  return std::nullopt;
}

LoadFailure DownloadFile::failure(std::int32_t code, const std::string& reason) const {
  return {code, "the download cannot be written to " + name_.path() + ": " + reason};
}

}  // namespace platform::detail
