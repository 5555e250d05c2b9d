#include "Platform/Foundation/TemporaryFile.hpp"

#include <cstdio>

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/Internal/PathsToRemove.hpp"

namespace platform {

using detail::PathsToRemove;

TemporaryFile::TemporaryFile(std::string path) : path_(std::move(path)) {
  if (!path_.empty()) PathsToRemove::shared().add(path_);
}

TemporaryFile TemporaryFile::staying(std::string path) {
  TemporaryFile file;
  file.path_ = std::move(path);
  file.stays_ = true;
  return file;
}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    remove();
    path_ = std::exchange(other.path_, {});
    stays_ = std::exchange(other.stays_, false);
  }
  return *this;
}

URL TemporaryFile::url() const { return URL::file(path_); }

void TemporaryFile::moveTo(const std::string& path) {
  FileManager::move(path_, path);
  keep();
}

void TemporaryFile::keep() noexcept {
  if (!path_.empty() && !stays_) PathsToRemove::shared().forget(path_);
  path_.clear();
  stays_ = false;
}

void TemporaryFile::remove() noexcept {
  // What is gone already needs no removing, and for the rest there is nobody to tell.
  if (!path_.empty() && !stays_) std::remove(path_.c_str());
  keep();
}

}  // namespace platform
