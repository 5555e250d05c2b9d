#include <cstdio>

#include "Platform/Trap.hpp"

int main() {
  std::puts(&platform::trap != nullptr ? "ok" : "no");
  return 0;
}
