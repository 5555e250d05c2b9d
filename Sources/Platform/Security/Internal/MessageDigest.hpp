#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace platform::detail {

/// The hash functions of HTTP authentication.
enum class HashFunction { md5, sha256, sha512_256 };

/// The digest of bytes that come in pieces, by one of several functions. Movable. One thread at a time.
class MessageDigest {
 public:
  /// Throws `std::bad_alloc`, and an `Error` where OpenSSL does not have the function, or once the process exits.
  explicit MessageDigest(HashFunction function);

  /// Throws an `Error` once the process exits.
  void add(std::span<const std::byte> bytes);
  void add(std::string_view text) { add(std::as_bytes(std::span(text))); }
  /// The digest of all bytes in hexadecimal digits, in lower case. Called once, and last. Throws as `add` does.
  std::string hex();

  /// That of one text.
  static std::string hexOf(HashFunction function, std::string_view text);

 private:
  struct Free {
    void operator()(void* context) const noexcept;
  };

  std::unique_ptr<void, Free> context_;
};

}  // namespace platform::detail
