#include "TestSupport/ProcessState.hpp"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <fstream>
#include <functional>
#include <memory>
#include <string_view>
#include <system_error>

#include "Platform/Dispatch/Internal/LiveCount.hpp"
#include "Platform/Dispatch/Internal/WorkerPool.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"

namespace corvane::testkit {

namespace {

/// Calls `use` with every numeric entry of a directory below /proc/self, but with the descriptor that reads it.
void forEachNumber(const char* path, const std::function<void(int)>& use) {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path), &::closedir);
  if (!directory) throw std::system_error(errno, std::generic_category(), path);
  while (const dirent* const entry = ::readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    int number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error == std::errc() && end == name.data() + name.size() && number != ::dirfd(directory.get())) use(number);
  }
}

/// Empty when the descriptor was closed meanwhile.
std::string targetOf(int descriptor) {
  std::array<char, 512> target;
  const auto path = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
  return length < 0 ? std::string() : std::string(target.data(), static_cast<std::size_t>(length));
}

int familyOf(int socket) {
  int family = AF_UNSPEC;
  socklen_t size = sizeof family;
  return ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 ? family : AF_UNSPEC;
}

using NameOfSocket = int (*)(int, sockaddr*, socklen_t*);

/// "127.0.0.1:80"; "nobody" for a socket that has no such end.
std::string endOf(int socket, NameOfSocket name) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (name(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return "nobody";
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (address.ss_family == AF_INET) {
    const auto& own = reinterpret_cast<const sockaddr_in&>(address);
    ::inet_ntop(AF_INET, &own.sin_addr, text.data(), text.size());
    return std::string(text.data()) + ":" + std::to_string(ntohs(own.sin_port));
  }
  if (address.ss_family != AF_INET6) return "no internet address";
  const auto& own = reinterpret_cast<const sockaddr_in6&>(address);
  ::inet_ntop(AF_INET6, &own.sin6_addr, text.data(), text.size());
  return "[" + std::string(text.data()) + "]:" + std::to_string(ntohs(own.sin6_port));
}

std::string described(int descriptor, const std::string& target) {
  std::string line = "descriptor " + std::to_string(descriptor) + ": " + target;
  if (!target.starts_with("socket:")) return line;
  return line + " from " + endOf(descriptor, &::getsockname) + " to " + endOf(descriptor, &::getpeername);
}

/// The watch for memory pressure and the one for changes of the network are never closed.
bool staysOpen(int descriptor, const std::string& target) {
  if (target == "/proc/pressure/memory") return true;
  return target.starts_with("socket:") && familyOf(descriptor) == AF_NETLINK;
}

/// Empty when the thread has ended meanwhile.
std::string nameOfThread(int thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

constexpr std::string_view networkThread = "corvane.network";

/// Threads that look names up end when they had nothing to do for some seconds, as workers do.
bool livesAsLongAsTheProcess(std::string_view thread) {
  return thread == "name look-up" || thread == networkThread || thread == "corvane-timer" || thread == "corvane-memory";
}

/// The descriptors that come with the network thread.
class DescriptorsOfLoop {
 public:
  bool take(std::string_view target) {
    for (auto& [kind, count] : left_) {
      if (kind == target && count > 0) return count-- > 0;
    }
    return false;
  }

 private:
  std::array<std::pair<std::string_view, int>, 3> left_{
      {{"anon_inode:[eventpoll]", 1}, {"anon_inode:[eventfd]", 2}, {"anon_inode:[timerfd]", 2}}};
};

}  // namespace

ProcessState ProcessState::now(const std::filesystem::path& temporaryDirectory) {
  ProcessState state;
  state.taskCount_ = platform::detail::LiveCount<platform::detail::TaskCore>::value();
  forEachNumber("/proc/self/task", [&](int thread) {
    const std::string name = nameOfThread(thread);
    if (name == networkThread) state.hasNetworkThread_ = true;
    if (!name.empty() && !livesAsLongAsTheProcess(name)) state.threads_.emplace(thread, name);
  });
  // Asked for last, so that one that started meanwhile is known. A worker has the name of the queue that it worked for.
  for (const pid_t worker : platform::detail::WorkerPool::shared().workerThreads()) state.threads_.erase(worker);
  forEachNumber("/proc/self/fd", [&](int descriptor) {
    const std::string target = targetOf(descriptor);
    if (!target.empty() && !staysOpen(descriptor, target)) state.descriptors_.emplace(descriptor, target);
  });
  for (const auto& entry : std::filesystem::directory_iterator(temporaryDirectory)) {
    state.files_.insert(entry.path().filename().string());
  }
  return state;
}

std::vector<std::string> ProcessState::beyond(const ProcessState& before) const {
  std::vector<std::string> lines;
  DescriptorsOfLoop loop;
  const bool hasNewLoop = hasNetworkThread_ && !before.hasNetworkThread_;
  for (const auto& [number, target] : descriptors_) {
    const auto known = before.descriptors_.find(number);
    if (known != before.descriptors_.end() && known->second == target) continue;
    if (hasNewLoop && loop.take(target)) continue;
    lines.push_back(described(number, target));
  }
  for (const auto& [thread, name] : threads_) {
    if (!before.threads_.contains(thread)) lines.push_back("thread \"" + name + "\"");
  }
  if (taskCount_ > before.taskCount_) lines.push_back(std::to_string(taskCount_ - before.taskCount_) + " URL tasks");
  for (const std::string& file : files_) {
    if (!before.files_.contains(file)) lines.push_back("temporary file " + file);
  }
  return lines;
}

}  // namespace corvane::testkit
