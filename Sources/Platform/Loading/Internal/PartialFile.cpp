#include "Platform/Loading/Internal/PartialFile.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <span>
#include <utility>
#include <variant>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/Internal/FileWriting.hpp"
#include "Platform/Loading/Internal/DownloadFile.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

/// How much may arrive until the record tells of it: what a process that is killed loses.
constexpr std::int64_t bytesBetweenNotes = 1024 * 1024;
constexpr std::size_t hashedPieceBytes = 256 * 1024;

SHA256Digest digestOf(const URL& url) {
  const std::string& text = url.absoluteString();
  return SHA256Digest::of(std::as_bytes(std::span(text)));
}

}  // namespace

PartialFile::PartialFile(const DownloadOptions& options, const URL& url)
    : destination_(*options.destination),
      urlDigest_(digestOf(url)),
      partPath_(destination_.path() + partSuffix),
      recordPath_(destination_.path() + recordSuffix),
      digest_(options.expectedDigest) {}

SHA256Hasher PartialFile::hashKept(const std::function<bool()>& goesOn) const {
  SHA256Hasher hasher;
  const auto piece = std::make_unique_for_overwrite<std::byte[]>(hashedPieceBytes);
  std::int64_t done = 0;
  while (kept_ && done < kept_->length && goesOn()) {
    const auto wanted = std::min(hashedPieceBytes, static_cast<std::size_t>(kept_->length - done));
    const ssize_t count = uninterrupted([&] { return ::pread(part_.number(), piece.get(), wanted, done); });
    if (count <= 0) {
      const LoadFailure problem = failure(URLErrorCode::cannotOpenFile, count < 0 ? errno : EIO);
      throw NSError(kCFErrorDomainCFNetwork, problem.code, problem.message);
    }
    hasher.add({piece.get(), static_cast<std::size_t>(count)});
    done += count;
  }
  return hasher;
}

std::optional<LoadFailure> PartialFile::goOn() {
  hasBegun_ = true;
  record_ = openRecord(O_WRONLY);
  // What is beyond the noted length was written by a process that was killed, or by somebody else.
  if (!record_.isOpen() || ::ftruncate(part_.number(), kept_->length) != 0 ||
      ::lseek(part_.number(), kept_->length, SEEK_SET) < 0) {
    return failure(URLErrorCode::cannotWriteToFile, errno);
  }
  notedLength_ = kept_->length;
  output_.restart(kept_->length);
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::startOver(const std::optional<std::string>& validator,
                                                  std::optional<std::int64_t> total) {
  hasBegun_ = true;
  record_ = FileDescriptor();
  if (!isInPlace()) return wasRemoved();
  ::unlink(recordPath_.c_str());
  if (::ftruncate(part_.number(), 0) != 0 || ::lseek(part_.number(), 0, SEEK_SET) < 0)
    return failure(URLErrorCode::cannotWriteToFile, errno);
  notedLength_ = 0;
  output_.restart(0);
  digest_.startOver();
  if (validator) return writeRecord({.length = 0, .total = total, .url = urlDigest_, .validator = *validator});
  if (name_.path().empty()) name_ = TemporaryFile(partPath_);
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::writeRecord(const PartialRecord& record) {
  const std::string text = record.text();
  record_ = FileDescriptor(uninterrupted(
      [&] { return ::open(recordPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600); }));
  const bool isWritten = record_.isOpen() && writingToFile([&] {
                                               return ::write(record_.number(), text.data(), text.size());
                                             }) == static_cast<ssize_t>(text.size());
  if (!isWritten) {
    auto problem = failure(URLErrorCode::cannotWriteToFile, errno);
    if (record_.isOpen() && isInPlace()) ::unlink(recordPath_.c_str());
    record_ = FileDescriptor();
    return problem;
  }
  name_.keep();
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::take(Bytes bytes) {
  digest_.add(bytes);
  const int number = output_.take(part_, bytes);
  if (output_.written() - notedLength_ >= bytesBetweenNotes) noteLength();
  if (number != 0) return failure(URLErrorCode::cannotWriteToFile, number);
  return std::nullopt;
}

/// Bytes that are not told of are loaded again, so a failure costs no more than that.
void PartialFile::noteLength() noexcept {
  if (!record_.isOpen()) return;
  const auto digits = PartialRecord::lengthText(output_.written());
  const auto offset = static_cast<off_t>(PartialRecord::lengthOffset());
  const auto count = writingToFile([&] { return ::pwrite(record_.number(), digits.data(), digits.size(), offset); });
  if (count == static_cast<ssize_t>(digits.size())) notedLength_ = output_.written();
}

std::optional<LoadFailure> PartialFile::finish(std::optional<std::int64_t> total, std::optional<std::int64_t> end) {
  if (auto failure = checkWritten()) return failure;
  if (auto failure = checkLength(total, end)) return failure;
  if (auto failure = close()) return failure;
  try {
    digest_.finish(destination_.path());
  } catch (...) {
    remove();
    throw;
  }
  destination_.givePermissions(part_);
  auto taken = destination_.take(partPath_);
  if (auto* failure = std::get_if<LoadFailure>(&taken)) return std::move(*failure);
  name_.keep();
  complete_ = std::get<TemporaryFile>(std::move(taken));
  // From here on another download may make both files anew.
  if (isAtPath(record_, recordPath_)) ::unlink(recordPath_.c_str());
  hasBegun_ = false;
  kept_.reset();
  isLocked_ = false;
  part_ = FileDescriptor();
  record_ = FileDescriptor();
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::checkWritten() {
  const int number = output_.flush(part_);
  noteLength();
  if (number != 0) return failure(URLErrorCode::cannotWriteToFile, number);
  return std::nullopt;
}

std::optional<LoadFailure> PartialFile::checkLength(std::optional<std::int64_t> total,
                                                    std::optional<std::int64_t> end) {
  const std::int64_t written = output_.written();
  if (end && written > *end) {
    remove();  // nobody knows which of the bytes are those of the range
    return destination_.failure(URLErrorCode::cannotParseResponse,
                                "the server sent more than its Content-Range tells of: " + std::to_string(written) +
                                    " bytes are there, not " + std::to_string(*end));
  }
  const std::int64_t wanted = std::max(total.value_or(written), end.value_or(0));
  if (written == wanted) return std::nullopt;
  return destination_.failure(URLErrorCode::networkConnectionLost,
                              "the server sent a part of what was asked for: " + std::to_string(written) + " of " +
                                  std::to_string(wanted) + " bytes are there");
}

std::optional<LoadFailure> PartialFile::close() {
  // Some file systems report failed writes only when a descriptor is closed; this one keeps the lock.
  FileDescriptor copy(::fcntl(part_.number(), F_DUPFD_CLOEXEC, 0));
  if (const int closing = copy.close(); closing != 0) return failure(URLErrorCode::cannotCloseFile, closing);
  if (isInPlace()) return std::nullopt;
  name_.keep();  // what is there now, if anything, is another's
  isLocked_ = false;
  return wasRemoved();
}

bool PartialFile::isInPlace() const noexcept { return isAtPath(part_, partPath_); }

LoadFailure PartialFile::wasRemoved() const {
  return destination_.failure(URLErrorCode::cannotWriteToFile, partPath_ + " was removed while it was being written");
}

bool PartialFile::isWorthKeeping() const noexcept {
  if (!hasBegun_) return wasThere_;
  return record_.isOpen() && output_.written() > 0;
}

void PartialFile::leave() noexcept {
  if (!std::exchange(isLocked_, false)) return;
  if (hasBegun_ && record_.isOpen()) {
    output_.flush(part_);
    noteLength();
  }
  if (!isWorthKeeping()) {
    remove();
  } else {
    // Not by closing it: the descriptor may be in use for the digest of what is there.
    ::flock(part_.number(), LOCK_UN);
  }
}

/// What is in their place by now, if anything, is another's.
void PartialFile::remove() noexcept {
  if (isInPlace()) {
    ::unlink(recordPath_.c_str());
    ::unlink(partPath_.c_str());
  }
  name_.keep();
  record_ = FileDescriptor();
  isLocked_ = false;
  ::flock(part_.number(), LOCK_UN);  // last: from now on the paths are another's
}

LoadFailure PartialFile::failure(std::int32_t code, int number) const {
  return destination_.failure(code, partPath_ + ": " + systemReason(number));
}

}  // namespace platform::detail
