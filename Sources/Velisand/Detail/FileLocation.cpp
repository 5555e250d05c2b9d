#include "Velisand/Detail/FileLocation.hpp"

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace velisand {

std::string detail::pathOf(const platform::URL& file) {
  if (file.isFileURL()) return file.fileSystemPath();
  throw platform::Error(platform::NSCocoaErrorDomain, platform::CocoaErrorCode::fileReadUnknown,
                        "\"" + file.absoluteString() + "\" is no file URL");
}

}  // namespace velisand
