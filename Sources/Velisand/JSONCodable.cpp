#include "Velisand/JSONCodable.hpp"

#include "Platform/Foundation/FileManager.hpp"
#include "Velisand/Detail/FileLocation.hpp"

namespace velisand {

platform::Data detail::contentsOf(const platform::URL& file) {
  platform::Data contents;
  platform::FileManager::appendContents(pathOf(file), contents);
  return contents;
}

}  // namespace velisand
