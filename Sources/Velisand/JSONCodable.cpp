#include "Velisand/JSONCodable.hpp"

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace velisand {

platform::Data detail::contentsOf(const platform::URL& file) {
  if (file.scheme() != "file") {
    throw platform::Error(platform::NSCocoaErrorDomain, platform::CocoaErrorCode::fileReadUnknown,
                          "\"" + file.absoluteString() + "\" is no file URL");
  }
  return platform::FileManager::contents(file.path());
}

}  // namespace velisand
