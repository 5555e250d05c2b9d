#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace corvane::testkit {

/// What this process holds at one moment and has to give back: descriptors, threads, tasks, temporary files.
///
/// What the library makes once and keeps until the process exits is left out: its workers, its timer, the network
/// thread with the loop's descriptors, the watch for memory pressure and the one for changes of the network.
class ProcessState {
 public:
  /// As it is now. Files are those in `temporaryDirectory`.
  static ProcessState now(const std::filesystem::path& temporaryDirectory);

  /// One line for each thing that is here and was not there `before`, such as "descriptor 7: pipe:[4711]".
  std::vector<std::string> beyond(const ProcessState& before) const;
  /// Tasks of URL sessions that are still referred to, whether they run or not.
  std::size_t taskCount() const { return taskCount_; }

 private:
  std::map<int, std::string> descriptors_;
  /// By identifier; without those that the library keeps.
  std::map<pid_t, std::string> threads_;
  bool hasNetworkThread_ = false;
  std::size_t taskCount_ = 0;
  std::set<std::string> files_;
};

}  // namespace corvane::testkit
