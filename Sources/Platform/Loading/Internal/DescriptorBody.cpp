#include "Platform/Loading/Internal/DescriptorBody.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <system_error>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

[[noreturn]] void failReading(int systemError) {
  throw Error(
      NSPOSIXErrorDomain, systemError,
      "the body of the request cannot be read from its descriptor: " + std::generic_category().message(systemError));
}

}  // namespace

class DescriptorBody::DescriptorPass final : public Pass {
 public:
  explicit DescriptorPass(FileDescriptor descriptor)
      : descriptor_(std::move(descriptor)), interruption_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!interruption_.isOpen()) failReading(errno);
  }

  std::optional<Data> next() override {
    while (awaitBytes()) {
      Data bytes;
      bytes.resize(pieceBytes);
      const ssize_t got =
          uninterrupted([&] { return ::read(descriptor_.number(), bytes.mutableBytes(), bytes.count()); });
      if (got == 0) return std::nullopt;
      if (got > 0) {
        bytes.resize(static_cast<std::size_t>(got));
        return bytes;
      }
      // Somebody else was faster, or it was a false alarm (select(2), BUGS).
      if (errno != EAGAIN && errno != EWOULDBLOCK) failReading(errno);
    }
    return std::nullopt;
  }

  void interrupt() noexcept override {
    // It cannot be full: it is called once.
    static_cast<void>(::eventfd_write(interruption_.number(), 1));
  }

 private:
  /// False when it was interrupted.
  bool awaitBytes() {
    std::array<pollfd, 2> watched{pollfd{descriptor_.number(), POLLIN, 0}, pollfd{interruption_.number(), POLLIN, 0}};
    if (uninterrupted([&] { return ::poll(watched.data(), watched.size(), -1); }) < 0) failReading(errno);
    return watched[1].revents == 0;
  }

  const FileDescriptor descriptor_;
  const FileDescriptor interruption_;
};

DescriptorBody::DescriptorBody(int descriptor, std::optional<std::uint64_t> length)
    : descriptor_(descriptor), length_(length) {
  if (::fcntl(descriptor, F_GETFD) >= 0) return;
  const int systemError = errno;
  static_cast<void>(descriptor_.close());
  failReading(systemError);
}

std::shared_ptr<URLBodyStream::Pass> DescriptorBody::makePass() {
  return std::make_shared<DescriptorPass>(std::move(descriptor_));
}

}  // namespace platform::detail
