#include "Platform/Loading/URLResponseStream.hpp"

namespace platform {

URLResponseStream::~URLResponseStream() = default;

}  // namespace platform
