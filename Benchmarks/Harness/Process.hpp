#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Harness/Descriptor.hpp"

namespace bench {

/// Keeps this process, with the threads it will make, on one core; does nothing where there is no such core.
void stayOnCore(int core);
/// Raises the soft limit of open files to the hard one.
void allowManyDescriptors();

/// What a process has used so far.
struct Usage {
  double cpuSeconds = 0;
  /// The most that was ever resident.
  double peakMebibytes = 0;

  /// Of this process.
  static Usage now();
  /// Of the programs that were run by this process and have ended: their time, and the largest peak. That is never
  /// below this process's own size, which the kernel counts to a program that replaces it.
  static Usage ofChildren();
};

/// A program run by this one, with pipes to its standard input and from its standard output.
class ChildProcess {
 public:
  /// On one core, unless that is negative.
  explicit ChildProcess(const std::vector<std::string>& arguments, int core = -1);
  /// Ends the program if it still runs, and waits for it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Its next line of output without the line's end. Throws when there is none within `timeoutSeconds`.
  std::string readLine(double timeoutSeconds);
  /// Waits for its end. Throws when it failed, or did not end within `timeoutSeconds`.
  void waitForSuccess(double timeoutSeconds);
  /// Asks it to end by closing its standard input.
  void closeInput() { input_.close(); }

 private:
  std::string name_;
  pid_t id_ = -1;
  Descriptor input_;
  Descriptor output_;
  std::string buffered_;
};

}  // namespace bench
