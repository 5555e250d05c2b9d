#include "Platform/Loading/URLSessionObserver.hpp"

namespace platform {

URLSessionTaskObserver::~URLSessionTaskObserver() = default;

URLSessionObserver::~URLSessionObserver() = default;

}  // namespace platform
