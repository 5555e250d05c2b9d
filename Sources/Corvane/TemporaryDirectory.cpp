#include "Corvane/TemporaryDirectory.hpp"

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/UUID.hpp"

namespace corvane {

using platform::FileManager;
using platform::URL;

URL makeTemporaryDirectory() {
  const std::string name = "Corvane-" + platform::UUID().uuidString();
  const URL directory = URL::file(FileManager::temporaryDirectory() + "/").appendingPathComponent(name + "/");
  FileManager::createPrivateDirectory(directory.fileSystemPath());
  return directory;
}

}  // namespace corvane
