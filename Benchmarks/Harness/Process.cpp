#include "Harness/Process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double peakMebibytes() {
  // `ru_maxrss` is inherited from the program that started this one; the kernel's high-water mark is not.
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  }
  throw std::runtime_error("/proc/self/status does not tell VmHWM");
}

struct Pipe {
  Descriptor reading;
  Descriptor writing;

  Pipe() {
    std::array<int, 2> ends{};
    checked(pipe2(ends.data(), O_CLOEXEC), "pipe2");
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
  }
};

[[noreturn]] void become(const std::vector<std::string>& arguments, int core, int input, int output) {
  if (core >= 0) stayOnCore(core);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  std::vector<char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  execvp(pointers.front(), pointers.data());
  _exit(127);
}

bool becomesReadable(int descriptor, double timeoutSeconds) {
  pollfd waiting{descriptor, POLLIN, 0};
  return poll(&waiting, 1, static_cast<int>(timeoutSeconds * 1000)) > 0;
}

}  // namespace

void stayOnCore(int core) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(static_cast<std::size_t>(core), &cores);
  sched_setaffinity(0, sizeof cores, &cores);
}

void allowManyDescriptors() {
  rlimit limit{};
  checked(getrlimit(RLIMIT_NOFILE, &limit), "getrlimit");
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

Usage Usage::now() {
  rusage usage{};
  checked(getrusage(RUSAGE_SELF, &usage), "getrusage");
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), bench::peakMebibytes()};
}

Usage Usage::ofChildren() {
  rusage usage{};
  checked(getrusage(RUSAGE_CHILDREN, &usage), "getrusage");
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) / 1024};
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, int core) : name_(arguments.front()) {
  Pipe input;
  Pipe output;
  id_ = checked(fork(), "fork");
  if (id_ == 0) become(arguments, core, input.reading.number(), output.writing.number());
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
}

ChildProcess::~ChildProcess() {
  if (id_ < 0) return;
  kill(id_, SIGTERM);
  waitpid(id_, nullptr, 0);
}

std::string ChildProcess::readLine(double timeoutSeconds) {
  for (;;) {
    if (const std::size_t end = buffered_.find('\n'); end != std::string::npos) {
      std::string line = buffered_.substr(0, end);
      buffered_.erase(0, end + 1);
      return line;
    }
    if (!becomesReadable(output_.number(), timeoutSeconds)) throw std::runtime_error(name_ + " is silent");
    std::array<char, 4096> bytes;
    const ssize_t count = checked(read(output_.number(), bytes.data(), bytes.size()), "read");
    if (count == 0) throw std::runtime_error(name_ + " ended early");
    buffered_.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

void ChildProcess::waitForSuccess(double timeoutSeconds) {
  const Descriptor handle(static_cast<int>(checked(syscall(SYS_pidfd_open, id_, 0), "pidfd_open")));
  if (!becomesReadable(handle.number(), timeoutSeconds)) throw std::runtime_error(name_ + " does not end");
  int status = 0;
  checked(waitpid(std::exchange(id_, -1), &status, 0), "waitpid");
  if (status != 0) throw std::runtime_error(name_ + " failed");
}

}  // namespace bench
