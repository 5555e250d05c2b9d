#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace platform::detail {

/// Owns an open file. Movable.
class FileDescriptor {
 public:
  FileDescriptor() noexcept = default;
  /// A negative number stands for a file that could not be opened.
  explicit FileDescriptor(int number) noexcept : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      close();
      number_ = std::exchange(other.number_, -1);
    }
    return *this;
  }
  ~FileDescriptor() { close(); }

  int number() const noexcept { return number_; }
  bool isOpen() const noexcept { return number_ >= 0; }
  /// Closes and tells the error number, since some file systems report failed writes only then.
  int close() noexcept {
    const int number = std::exchange(number_, -1);
    return number < 0 || ::close(number) == 0 ? 0 : errno;
  }

 private:
  int number_ = -1;
};

/// Calls until no signal interrupts the call.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace platform::detail
