#include "Platform/Loading/Internal/DownloadFile.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

constexpr std::string_view suffix = ".tmp";

}  // namespace

DownloadFile::DownloadFile(const DownloadOptions& options) : digest_(options.expectedDigest) {
  if (options.destination) destination_.emplace(*options.destination);
}

std::optional<LoadFailure> DownloadFile::open() {
  if (!destination_) return openTemporary();
  if (auto failure = destination_->problem()) return failure;
  return openBeside(*destination_);
}

std::optional<LoadFailure> DownloadFile::openTemporary() {
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

std::optional<LoadFailure> DownloadFile::openBeside(const DestinationPath& destination) {
  std::string path = destination.directory() + "/.CorvaneDownload_" + UUID().uuidString() + std::string(suffix);
  file_ = destination.make(path, O_WRONLY);
  if (!file_.isOpen()) {
    return destination.failure(URLErrorCode::cannotCreateFile,
                               "no file can be made in " + destination.directory() + ": " + systemReason(errno));
  }
  name_ = TemporaryFile(std::move(path));
  destination.givePermissions(file_, 0600);
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::take(Bytes bytes) {
  digest_.add(bytes);
  if (const int number = output_.take(file_, bytes); number != 0)
    return failure(URLErrorCode::cannotWriteToFile, number);
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::finish() {
  if (const int number = output_.flush(file_); number != 0) return failure(URLErrorCode::cannotWriteToFile, number);
  if (destination_) destination_->givePermissions(file_);
  if (auto failure = close()) return failure;
  digest_.finish(destination_ ? destination_->path() : std::string());
  if (!destination_) return std::nullopt;
  auto taken = destination_->take(name_.path());
  if (auto* failure = std::get_if<LoadFailure>(&taken)) return std::move(*failure);
  name_.keep();
  name_ = std::get<TemporaryFile>(std::move(taken));
  return std::nullopt;
}

std::optional<LoadFailure> DownloadFile::close() {
  const bool isInPlace = isAtPath(file_, name_.path());
  if (const int number = file_.close(); number != 0) return failure(URLErrorCode::cannotCloseFile, number);
  if (isInPlace) return std::nullopt;
  LoadFailure result{URLErrorCode::cannotWriteToFile, "the download cannot be written to " + name_.path() +
                                                          ": it was removed while it was being written"};
  name_.keep();  // what is there now, if anything, is another's
  return result;
}

bool isAtPath(const FileDescriptor& file, const std::string& path) {
  struct stat own{};
  struct stat there{};
  return ::fstat(file.number(), &own) == 0 && ::lstat(path.c_str(), &there) == 0 && own.st_ino == there.st_ino &&
         own.st_dev == there.st_dev;
}

LoadFailure DownloadFile::failure(std::int32_t code, int number) const {
  return {code, "the download cannot be written to " + name_.path() + ": " + systemReason(number)};
}

}  // namespace platform::detail
