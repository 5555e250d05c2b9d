#include "Velisand/WhenAny.hpp"

#include <cerrno>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace velisand {

platform::Error detail::noneToAwait() {
  return platform::NSError(platform::NSPOSIXErrorDomain, EINVAL, "There is no future to await the first of");
}

}  // namespace velisand
