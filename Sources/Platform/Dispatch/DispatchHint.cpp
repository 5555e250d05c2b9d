#include "Platform/Dispatch/DispatchHint.hpp"

#include <atomic>
#include <cstdio>
#include <string>

namespace platform {

namespace {
std::atomic<void (*)(std::string_view)> currentHandler = nullptr;
}  // namespace

void setDispatchHintHandler(void (*handler)(std::string_view hint)) { currentHandler = handler; }

void detail::giveDispatchHint(std::string_view hint) {
  if (auto* const handler = currentHandler.load()) {
    handler(hint);
  } else {
    std::fputs(("Corvane: " + std::string(hint) + "\n").c_str(), stderr);
  }
}

}  // namespace platform
