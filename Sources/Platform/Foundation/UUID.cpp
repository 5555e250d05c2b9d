#include "Platform/Foundation/UUID.hpp"

#include <pthread.h>
#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "Platform/Foundation/Detail/ASCII.hpp"
#include "Platform/Trap.hpp"

namespace platform {

namespace {

using Bytes = std::array<std::uint8_t, 16>;

std::atomic<unsigned> forks = 0;

/// Random bytes of one thread, fetched in portions: a system call costs many times what an identifier does.
class RandomBuffer {
 public:
  RandomBuffer() {
    static const int registered = ::pthread_atfork(nullptr, nullptr, [] { forks.fetch_add(1); });
    if (registered != 0) trap("UUID: the fork handler could not be registered");
  }

  void take(Bytes& bytes) {
    // A forked child must not hand out what its parent will.
    const unsigned now = forks.load(std::memory_order_relaxed);
    if (used_ == sizeof buffer_ || now != filledAfterForks_) fill(now);
    std::memcpy(bytes.data(), buffer_ + used_, bytes.size());
    used_ += bytes.size();
  }

 private:
  void fill(unsigned now) {
    // The kernel hands out up to 256 bytes at once without interruption.
    if (::getentropy(buffer_, sizeof buffer_) != 0) trap("UUID: the system gives no random bytes");
    used_ = 0;
    filledAfterForks_ = now;
  }

  unsigned char buffer_[256];
  std::size_t used_ = sizeof buffer_;
  unsigned filledAfterForks_ = 0;
};

/// Whether a dash stands before the byte at `index` in the canonical form.
bool isGroupStart(std::size_t index) { return index == 4 || index == 6 || index == 8 || index == 10; }

}  // namespace

UUID::UUID() {
  static thread_local RandomBuffer random;
  random.take(bytes_);
  // RFC 4122, 4.4: version 4 in the upper half of byte 6, the variant in the upper two bits of byte 8.
  bytes_[6] = static_cast<std::uint8_t>((bytes_[6] & 0x0F) | 0x40);
  bytes_[8] = static_cast<std::uint8_t>((bytes_[8] & 0x3F) | 0x80);
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Bytes bytes;
  std::size_t at = 0;
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    if (isGroupStart(index) && text[at++] != '-') return std::nullopt;
    const int high = detail::hexadecimalValue(text[at++]);
    const int low = detail::hexadecimalValue(text[at++]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[index] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t index = 0; index < bytes_.size(); ++index) {
    if (isGroupStart(index)) text += '-';
    text += digits[bytes_[index] >> 4];
    text += digits[bytes_[index] & 0x0F];
  }
  return text;
}

std::size_t UUID::hash() const noexcept {
  // Random bytes need no mixing; folding both halves keeps identifiers of other versions apart too.
  std::uint64_t halves[2];
  std::memcpy(halves, bytes_.data(), sizeof halves);
  const std::uint64_t mixed = halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15U);
  return static_cast<std::size_t>(mixed ^ (mixed >> 32U));  // all of it, also where a hash has 32 bits
}

}  // namespace platform
