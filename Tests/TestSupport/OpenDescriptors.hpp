#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corvane::testkit {

/// The numbers of this process's descriptors.
std::vector<int> openDescriptors();
/// Those that are connected to the port, in IPv4.
std::vector<int> descriptorsTo(std::uint16_t port);
/// Stream sockets without a peer: those that listen, and those that are still connecting.
std::vector<int> descriptorsWithoutPeer();
/// What the kernel says of each epoll watch under the number of a descriptor that is closed, or another one by now.
std::vector<std::string> staleWatches();

/// A second descriptor of what stands after the first, as another process may have.
class DescriptorCopy {
 public:
  explicit DescriptorCopy(int number);
  ~DescriptorCopy();
  DescriptorCopy(const DescriptorCopy&) = delete;
  DescriptorCopy& operator=(const DescriptorCopy&) = delete;

 private:
  int number_;
};

}  // namespace corvane::testkit
