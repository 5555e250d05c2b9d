#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

namespace bench {

/// Owns a file descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int number() const { return number_; }
  void close() noexcept {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
  }

 private:
  int number_ = -1;
};

/// `result`, or an exception that says what failed when it is negative.
template <class Integer>
Integer checked(Integer result, const std::string& what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

/// A listening socket on a free port of 127.0.0.1.
Descriptor listenOnLoopback();
std::uint16_t portOf(const Descriptor& socket);
/// A blocking connection to 127.0.0.1 that sends without delay.
Descriptor connectToLoopback(std::uint16_t port);

}  // namespace bench
