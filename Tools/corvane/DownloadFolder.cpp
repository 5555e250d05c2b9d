#include "DownloadFolder.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <Platform/Foundation/FileManager.hpp>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

using namespace corvane;
using platform::FileManager;

namespace {

constexpr std::size_t longestName = 255;
constexpr int mostNumbers = 10'000;

std::string newDirectoryIn(const std::string& path) {
  std::error_code error;
  std::string result = std::filesystem::absolute(path, error).string() + "/.corvane-XXXXXX";
  if (error || mkdtemp(result.data()) == nullptr) {
    const std::error_code reason = error ? error : std::error_code(errno, std::generic_category());
    throw std::system_error(reason, "cannot save files in \"" + path + "\"");
  }
  return result;
}

/// Those of any new file; downloads arrive with none for others.
mode_t usualPermissions() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

/// Where the extension starts; the end when there is none. ".tar.gz" is one.
std::size_t extensionStart(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return name.size();
  constexpr std::string_view archive = ".tar";
  const bool isOfArchive = dot > archive.size() && name.substr(0, dot).ends_with(archive);
  return isOfArchive ? dot - archive.size() : dot;
}

bool isInsideCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

std::string_view shortened(std::string_view text, std::size_t length) {
  if (text.size() <= length) return text;
  while (length > 0 && isInsideCharacter(text[length])) --length;
  return text.substr(0, length);
}

}  // namespace

DownloadFolder::DownloadFolder(std::string path)
    : path_(std::move(path)), arrivals_(newDirectoryIn(path_)), permissions_(usualPermissions()) {}

DownloadFolder::~DownloadFolder() {
  std::error_code nobodyToTell;
  std::filesystem::remove_all(arrivals_, nobodyToTell);
}

std::string DownloadFolder::take(const URL& file) const {
  const std::string arrived = file.fileSystemPath();
  const std::string name = std::filesystem::path(arrived).filename().string();
  const std::string folder = path_.ends_with('/') ? path_ : path_ + "/";
  chmod(arrived.c_str(), permissions_);
  for (int number = 0;; ++number) {
    const std::string target = folder + (number == 0 ? name : numberedName(name, number));
    try {
      FileManager::move(arrived, target);
      return target;
    } catch (const Error& error) {
      if (error.code() != platform::CocoaErrorCode::fileWriteFileExists || number == mostNumbers) throw;
    }
  }
}

std::string numberedName(std::string_view name, int number) {
  const std::size_t dot = extensionStart(name);
  const std::string end = " (" + std::to_string(number) + ")" + std::string(name.substr(dot));
  const std::size_t room = longestName - std::min(end.size(), longestName);
  return std::string(shortened(name.substr(0, dot), room)) + end;
}
