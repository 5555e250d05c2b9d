#include "Platform/Foundation/TypeName.hpp"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace platform {

namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

}  // namespace

std::string typeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                         std::free);
  if (status != 0 || demangled == nullptr) return type.name();
  std::string name = demangled.get();
  // The standard libraries' inline namespaces and the expansion of std::string are nobody's spelling.
  replaceAll(name, "std::__cxx11::", "std::");
  replaceAll(name, "std::__1::", "std::");
  while (name.find("> >") != std::string::npos) replaceAll(name, "> >", ">>");
  replaceAll(name, "std::basic_string<char, std::char_traits<char>, std::allocator<char>>", "std::string");
  replaceAll(name, "std::basic_string_view<char, std::char_traits<char>>", "std::string_view");
  return name;
}

}  // namespace platform
