#include "Platform/Foundation/TemporaryFile.hpp"

#include <unistd.h>

#include "Platform/Foundation/FileManager.hpp"

namespace platform {

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    remove();
    path_ = std::exchange(other.path_, {});
  }
  return *this;
}

URL TemporaryFile::url() const { return URL::file(path_); }

void TemporaryFile::moveTo(const std::string& path) {
  FileManager::move(path_, path);
  path_.clear();
}

void TemporaryFile::remove() noexcept {
  // What is gone already needs no removing, and for the rest an error could not be reported.
  if (!path_.empty()) ::unlink(path_.c_str());
  path_.clear();
}

}  // namespace platform
