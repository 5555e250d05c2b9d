#include "JSON/FreshProcess.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include "Harness/Descriptor.hpp"

namespace bench {
namespace {

[[noreturn]] void workAndExit(const std::function<double()>& work, int output) {
  try {
    const double figure = work();
    _exit(write(output, &figure, sizeof figure) == sizeof figure ? EXIT_SUCCESS : EXIT_FAILURE);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    _exit(EXIT_FAILURE);
  }
}

}  // namespace

double inFreshProcess(const std::function<double()>& work) {
  int ends[2];
  checked(pipe(ends), "pipe");
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  const pid_t child = checked(fork(), "fork");
  if (child == 0) workAndExit(work, ends[1]);
  writing.close();
  double figure = 0;
  const bool isComplete = read(ends[0], &figure, sizeof figure) == sizeof figure;
  int status = 0;
  checked(waitpid(child, &status, 0), "waitpid");
  if (!isComplete || status != 0) throw std::runtime_error("A measurement failed");
  return figure;
}

}  // namespace bench
