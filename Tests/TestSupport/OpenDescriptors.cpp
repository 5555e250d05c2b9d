#include "TestSupport/OpenDescriptors.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace corvane::testkit {

namespace {

/// Far from the numbers that are given out next.
constexpr int leastCopyNumber = 500;

bool isStreamSocket(int number) {
  int type = 0;
  socklen_t length = sizeof type;
  return ::getsockopt(number, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

bool findPeer(int number, sockaddr_in& peer) {
  socklen_t length = sizeof peer;
  return ::getpeername(number, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
}

/// Of a line such as "tfd: 5 events: 19 data: 5 pos:0 ino:2a sdev:9".
bool isStale(const std::string& line) {
  const std::size_t inode = line.find("ino:");
  if (inode == std::string::npos) return false;
  struct stat there{};
  return ::fstat(std::atoi(line.c_str() + 4), &there) != 0 ||
         there.st_ino != std::strtoull(line.c_str() + inode + 4, nullptr, 16);
}

}  // namespace

std::vector<int> openDescriptors() {
  std::vector<int> numbers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    numbers.push_back(std::atoi(entry.path().filename().c_str()));
  }
  return numbers;
}

std::vector<int> descriptorsTo(std::uint16_t port) {
  std::vector<int> found;
  for (const int number : openDescriptors()) {
    sockaddr_in peer{};
    if (findPeer(number, peer) && peer.sin_family == AF_INET && ntohs(peer.sin_port) == port) found.push_back(number);
  }
  return found;
}

std::vector<int> descriptorsWithoutPeer() {
  std::vector<int> found;
  for (const int number : openDescriptors()) {
    sockaddr_in peer{};
    if (isStreamSocket(number) && !findPeer(number, peer)) found.push_back(number);
  }
  return found;
}

std::vector<std::string> staleWatches() {
  std::vector<std::string> stale;
  for (const int number : openDescriptors()) {
    std::ifstream facts("/proc/self/fdinfo/" + std::to_string(number));
    for (std::string line; std::getline(facts, line);) {
      if (line.starts_with("tfd:") && isStale(line)) stale.push_back(line);
    }
  }
  return stale;
}

DescriptorCopy::DescriptorCopy(int number) : number_(::fcntl(number, F_DUPFD_CLOEXEC, leastCopyNumber)) {
  if (number_ < 0) throw std::system_error(errno, std::generic_category(), "the descriptor cannot be copied");
}

DescriptorCopy::~DescriptorCopy() { ::close(number_); }

}  // namespace corvane::testkit
