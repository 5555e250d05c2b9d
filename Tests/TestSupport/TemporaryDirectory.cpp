#include "TestSupport/TemporaryDirectory.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace corvane::testkit {

TemporaryDirectory::TemporaryDirectory() : process_(::getpid()) {
  std::string pattern = (std::filesystem::temp_directory_path() / "corvane-test-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), "cannot make " + pattern);
  path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  if (process_ != ::getpid()) return;
  std::error_code error;
  std::filesystem::remove_all(path_, error);
  if (error) std::fprintf(stderr, "cannot remove %s: %s\n", path_.c_str(), error.message().c_str());
}

std::string TemporaryDirectory::write(std::string_view name, std::string_view bytes) const {
  const std::filesystem::path path = path_ / name;
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
  return path.string();
}

std::string TemporaryDirectory::read(std::string_view name) const {
  const std::filesystem::path path = path_ / name;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace corvane::testkit
