#include "Platform/Loading/Internal/ReadableFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <system_error>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

std::int32_t codeFor(int systemError) {
  switch (systemError) {
    case ENOENT:
    case ENOTDIR:
      return URLErrorCode::fileDoesNotExist;
    case EACCES:
    case EPERM:
      return URLErrorCode::noPermissionsToReadFile;
    case EISDIR:
      return URLErrorCode::fileIsDirectory;
    default:
      return URLErrorCode::resourceUnavailable;
  }
}

}  // namespace

std::optional<LoadFailure> ReadableFile::open(const std::string& path) {
  path_ = path;
  // The system would take it for the name before the NUL.
  if (path.find('\0') != std::string::npos) return failure(ENOENT);
  // Without O_NONBLOCK a pipe would hold up everybody until somebody writes into it.
  descriptor_ =
      FileDescriptor(uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
  struct stat facts{};
  if (!descriptor_.isOpen() || ::fstat(descriptor_.number(), &facts) != 0) return failure(errno);
  if (S_ISDIR(facts.st_mode)) return failure(EISDIR);
  if (!S_ISREG(facts.st_mode)) return LoadFailure{URLErrorCode::resourceUnavailable, path_ + ": is not a regular file"};
  size_ = facts.st_size;
  return std::nullopt;
}

std::optional<std::int64_t> ReadableFile::currentSize() const {
  struct stat facts{};
  if (::fstat(descriptor_.number(), &facts) != 0) return std::nullopt;
  return facts.st_size;
}

std::variant<std::size_t, LoadFailure> ReadableFile::read(std::int64_t offset, std::span<std::byte> room) const {
  const ssize_t got = uninterrupted([&] { return ::pread(descriptor_.number(), room.data(), room.size(), offset); });
  if (got < 0) return failure(errno);
  return static_cast<std::size_t>(got);
}

LoadFailure ReadableFile::failure(int systemError) const {
  return {codeFor(systemError), path_ + ": " + std::generic_category().message(systemError)};
}

}  // namespace platform::detail
