#include "Vantorel/Internal/StackTrace.hpp"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <cstdlib>
#include <memory>

namespace vantorel::detail {

namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

std::string readable(const char* symbol) {
  int status = 0;
  const std::unique_ptr<char, Free> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
  return status == 0 ? name.get() : symbol;
}

/// The function, or the file and address in it of a function that is not exported (for addr2line).
std::string describe(void* address, const char* fallback) {
  Dl_info info{};
  const bool isNamed = dladdr(address, &info) != 0 && info.dli_sname != nullptr;
  return isNamed ? readable(info.dli_sname) : fallback;
}

}  // namespace

std::string stackTrace() {
  constexpr int limit = 64;
  void* frames[limit];
  const int count = backtrace(frames, limit);
  const std::unique_ptr<char*, Free> symbols(backtrace_symbols(frames, count));
  std::string text;
  // Frame 0 is this function.
  for (int index = 1; symbols && index < count; ++index)
    text += "\n    at " + describe(frames[index], symbols.get()[index]);
  return text;
}

}  // namespace vantorel::detail
