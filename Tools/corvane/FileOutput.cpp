#include "FileOutput.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>

// Not with the library's file manager: it replaces files, and "/dev/null" must stay what it is.
std::string writeFile(const std::string& path, const corvane::Data& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wbe");
  if (!file) return "cannot write " + path + ": " + std::strerror(errno);
  const bool isWritten = std::fwrite(bytes.bytes(), 1, bytes.count(), file) == bytes.count();
  const int writeError = errno;
  if (std::fclose(file) == 0 && isWritten) return "";
  return "cannot write " + path + ": " + std::strerror(isWritten ? errno : writeError);
}
