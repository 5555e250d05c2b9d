#include "FileOutput.hpp"

#include <sys/stat.h>

#include <Platform/Foundation/TemporaryFile.hpp>
#include <Platform/Foundation/UUID.hpp>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace {

std::string problemOf(const std::string& path, const std::string& reason) {
  return "cannot write " + path + ": " + reason;
}

using OpenFile = std::unique_ptr<std::FILE, decltype([](std::FILE* file) { std::fclose(file); })>;

/// Into a new file, which is to replace another, if that is there. Returns what went wrong.
std::string copyFile(const std::string& file, const std::string& path, const std::string& replaced) {
  const OpenFile source(std::fopen(file.c_str(), "rbe"));
  if (!source) return std::strerror(errno);
  OpenFile target(std::fopen(path.c_str(), "wbxe"));
  if (!target) return std::strerror(errno);
  struct stat facts{};
  if (stat(replaced.c_str(), &facts) == 0 && fchmod(fileno(target.get()), facts.st_mode & 0777) != 0)
    return std::strerror(errno);
  std::array<char, 65536> piece{};
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), source.get())) {
    if (std::fwrite(piece.data(), 1, count, target.get()) != count) return std::strerror(errno);
  }
  if (std::ferror(source.get())) return std::strerror(errno);
  return std::fclose(target.release()) == 0 ? "" : std::strerror(errno);
}

/// Whether a file is in the way, and none that is replaced.
bool isNoRegularFile(const std::string& path) {
  struct stat facts{};
  return lstat(path.c_str(), &facts) == 0 && !S_ISREG(facts.st_mode);
}

}  // namespace

std::string moveFile(const std::string& file, const std::string& path) {
  std::error_code error;
  if (std::filesystem::equivalent(file, path, error)) return "";
  if (isNoRegularFile(path)) return problemOf(path, "it is no regular file");
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  platform::TemporaryFile beside(folder / (".CorvaneDownload_" + platform::UUID().uuidString() + ".tmp"));
  std::string problem = copyFile(file, beside.path(), path);
  if (problem.empty() && std::rename(beside.path().c_str(), path.c_str()) != 0) problem = std::strerror(errno);
  if (!problem.empty()) return problemOf(path, problem);
  beside.keep();
  std::filesystem::remove(file, error);
  std::filesystem::remove(std::filesystem::path(file).parent_path(), error);
  return "";
}

// Not with the library's file manager: it replaces files, and "/dev/null" must stay what it is.
std::string writeFile(const std::string& path, const corvane::Data& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wbe");
  if (!file) return "cannot write " + path + ": " + std::strerror(errno);
  const bool isWritten = std::fwrite(bytes.bytes(), 1, bytes.count(), file) == bytes.count();
  const int writeError = errno;
  if (std::fclose(file) == 0 && isWritten) return "";
  return "cannot write " + path + ": " + std::strerror(isWritten ? errno : writeError);
}
