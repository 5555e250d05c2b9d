#include "InputFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "UsageError.hpp"

namespace {

std::string problemOfKind(int file) {
  struct stat status{};
  if (fstat(file, &status) != 0) return std::strerror(errno);
  if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
  // Of others nobody knows the length, and many can be read only once.
  return S_ISREG(status.st_mode) ? "" : "Not a regular file";
}

/// Empty when the file can be read.
std::string problemOfReading(const std::string& path) {
  // Opening a pipe that nobody writes to would wait.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return std::strerror(errno);
  std::string problem = problemOfKind(file);
  close(file);
  return problem;
}

}  // namespace

corvane::URL inputFile(const std::string& path, const std::string& purpose) {
  const std::string problem = problemOfReading(path);
  if (!problem.empty()) throw UsageError("cannot read the " + purpose + ": \"" + path + "\": " + problem);
  return corvane::URL::file(path);
}
