#include "Platform/Loading/Internal/FileLoad.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

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

LoadFailure systemFailure() {
  const int reason = errno;
  return {codeFor(reason), std::system_category().message(reason)};
}

std::optional<Data> readAll(int descriptor, std::size_t expected) {
  Data data = Data::withCapacity(expected + 1);
  for (;;) {
    const std::size_t before = data.count();
    data.resize(before + (before < expected ? expected - before : 64 * 1024));
    const ssize_t got = ::read(descriptor, data.mutableBytes() + before, data.count() - before);
    if (got < 0 && errno == EINTR) {
      data.resize(before);
      continue;
    }
    if (got < 0) return std::nullopt;
    data.resize(before + static_cast<std::size_t>(got));
    if (got == 0) return data;
  }
}

}  // namespace

FileLoad::FileLoad(const URL& url, std::int64_t maximumBytes) {
  const std::string path = url.fileSystemPath();
  if (const std::optional<LoadFailure> failure = read(path, maximumBytes)) {
    data.reset();
    error = transportError(failure->code, path + ": " + failure->message, url, false);
    return;
  }
  response = std::make_shared<URLResponse>(url, std::nullopt, static_cast<std::int64_t>(data->count()), std::nullopt);
}

std::optional<LoadFailure> FileLoad::read(const std::string& path, std::int64_t maximumBytes) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat facts{};
  if (file.number() < 0 || ::fstat(file.number(), &facts) != 0) return systemFailure();
  if (S_ISDIR(facts.st_mode)) return LoadFailure{URLErrorCode::fileIsDirectory, "is a directory"};
  if (!S_ISREG(facts.st_mode)) return LoadFailure{URLErrorCode::resourceUnavailable, "is not a regular file"};
  if (facts.st_size > maximumBytes) {
    return LoadFailure{URLErrorCode::dataLengthExceedsMaximum,
                       "exceeds the limit of " + std::to_string(maximumBytes) + " bytes"};
  }
  data = readAll(file.number(), static_cast<std::size_t>(facts.st_size));
  return data ? std::nullopt : std::optional(systemFailure());
}

}  // namespace platform::detail
