#include "Velisand/JSONCodable.hpp"

#include "Platform/Foundation/FileManager.hpp"
#include "Velisand/Detail/FileLocation.hpp"

namespace velisand {

platform::Data detail::contentsOf(const platform::URL& file) { return platform::FileManager::contents(pathOf(file)); }

}  // namespace velisand
