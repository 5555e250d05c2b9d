#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/Internal/PartialFile.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

/// How a partial file is found or made, and what of it is trusted.
namespace platform::detail {

namespace {

std::int64_t sizeOf(const FileDescriptor& file) {
  struct stat facts{};
  return ::fstat(file.number(), &facts) == 0 ? facts.st_size : -1;
}

constexpr mode_t othersMayWrite = S_IWOTH;
constexpr mode_t allOthersMayWrite = S_IWGRP | S_IWOTH;

bool isRegular(const FileDescriptor& file) {
  struct stat facts{};
  return ::fstat(file.number(), &facts) == 0 && S_ISREG(facts.st_mode);
}

/// Whether it is a file of this user, under this name only, with none of those permissions.
bool isOnlyOurs(const FileDescriptor& file, mode_t refused) {
  struct stat facts{};
  return ::fstat(file.number(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == ::geteuid() &&
         facts.st_nlink == 1 && (facts.st_mode & refused) == 0;
}

}  // namespace

std::optional<LoadFailure> PartialFile::open() {
  if (auto failure = destination_.problem()) return failure;
  // The longer of the two names.
  if (struct stat facts{}; ::lstat(recordPath_.c_str(), &facts) != 0 && errno == ENAMETOOLONG)
    return destination_.failure(URLErrorCode::cannotCreateFile, recordPath_ + ": " + systemReason(ENAMETOOLONG));
  if (auto failure = openPart()) return failure;
  isLocked_ = true;
  destination_.givePermissions(part_, 0600, othersMayWrite);
  wasThere_ = sizeOf(part_) > 0;
  kept_ = readRecord();
  if (!wasThere_) name_ = TemporaryFile(partPath_);
  return std::nullopt;
}

/// Another download may have completed the file, or removed it, between its opening here and its locking.
std::optional<LoadFailure> PartialFile::openPart() {
  do {
    if (auto failure = openOrMake()) return failure;
    if (auto failure = lock()) return failure;
  } while (!isInPlace());
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::openOrMake() {
  constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  do {
    part_ = destination_.make(partPath_, flags, 0777 & ~othersMayWrite);
    isNew_ = part_.isOpen();
    if (isNew_) return std::nullopt;
    if (errno != EEXIST) break;
    part_ = FileDescriptor(uninterrupted([&] { return ::open(partPath_.c_str(), flags); }));
  } while (!part_.isOpen() && errno == ENOENT);  // it was removed between the two
  if (!part_.isOpen()) return failure(URLErrorCode::cannotCreateFile, errno);
  if (!isRegular(part_)) return destination_.failure(URLErrorCode::cannotCreateFile, partPath_ + " is no regular file");
  if (!isOnlyOurs(part_, othersMayWrite)) {
    return destination_.failure(URLErrorCode::cannotCreateFile,
                                "another user may have written " + partPath_ + "; remove it to start over");
  }
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::lock() {
  if (uninterrupted([&] { return ::flock(part_.number(), LOCK_EX | LOCK_NB); }) == 0) return std::nullopt;
  const int number = errno;
  if (number == EWOULDBLOCK)
    return destination_.failure(URLErrorCode::cannotOpenFile, "another download is writing its part, " + partPath_);
  if (isNew_ && isInPlace()) ::unlink(partPath_.c_str());
  return failure(URLErrorCode::cannotOpenFile, number);
}

/// Not open, with `errno`, when there is none, or another user may have written it.
FileDescriptor PartialFile::openRecord(int flags) const {
  FileDescriptor file(uninterrupted(
      [&] { return ::open(recordPath_.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY); }));
  if (!file.isOpen() || isOnlyOurs(file, allOthersMayWrite)) return file;
  errno = EPERM;
  return FileDescriptor();
}

std::optional<PartialRecord> PartialFile::readRecord() const {
  const FileDescriptor file = openRecord(O_RDONLY);
  if (!file.isOpen()) return std::nullopt;
  char text[PartialRecord::longestText];
  const ssize_t count = uninterrupted([&] { return ::read(file.number(), text, sizeof text); });
  if (count <= 0) return std::nullopt;
  auto record = PartialRecord::parse({text, static_cast<std::size_t>(count)});
  const bool isOfThis = record && record->url == urlDigest_;
  if (!isOfThis || record->length == 0 || sizeOf(part_) < record->length) return std::nullopt;
  return record;
}

}  // namespace platform::detail
