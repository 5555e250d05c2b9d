#include "Velisand/FileRepresentable.hpp"

#include "Platform/Foundation/MIMETypes.hpp"

namespace velisand {

std::string detail::mimeTypeOf(const platform::URL& file) {
  return std::string(platform::mimeTypeForExtension(file.pathExtension()).value_or("application/octet-stream"));
}

}  // namespace velisand
