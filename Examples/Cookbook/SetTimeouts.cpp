#include <Corvane/Corvane.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

int main(int, char** argv) {
  const DataGetRequest slow(argv[1] + std::string("delay/10"));

  // For the whole call, with redirects and retries, and for connecting alone.
  const auto result = slow.send({.deadline = 250ms, .connectTimeout = 1s}).result();
  std::printf("%s\n", result ? "in time" : result.error()->message().c_str());
}
