#include "InputFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "UsageError.hpp"

namespace {

/// An error number; 0 when the file can be read.
int problemOfReading(const std::string& path) {
  // Opening a pipe that nobody writes to would wait.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return errno;
  struct stat status{};
  const int number = fstat(file, &status) != 0 ? errno : S_ISDIR(status.st_mode) ? EISDIR : 0;
  close(file);
  return number;
}

}  // namespace

corvane::URL inputFile(const std::string& path, const std::string& purpose) {
  const int number = problemOfReading(path);
  if (number != 0) throw UsageError("cannot read the " + purpose + ": \"" + path + "\": " + std::strerror(number));
  return corvane::URL::file(path);
}
