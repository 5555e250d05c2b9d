#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  const DataPostRequest request(argv[1] + std::string("echo"), "hello", {{"Authorization", "Bearer secret"}});

  // A line for a shell that does the same, to paste into a report.
  std::printf("%s\n", request.shellCommand({.hidesSecrets = true}).text.c_str());
}
