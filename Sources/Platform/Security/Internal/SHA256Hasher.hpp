#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Platform/Security/SHA256Digest.hpp"

namespace platform::detail {

/// Makes the SHA-256 digest of bytes that come in pieces. Movable. One thread at a time.
class SHA256Hasher {
 public:
  /// Throws `std::bad_alloc`, and an `Error` once the process exits.
  SHA256Hasher();

  /// Throws an `Error` once the process exits.
  void add(std::span<const std::byte> bytes);
  /// The digest of all bytes. Called once, and last. Throws as `add` does.
  SHA256Digest finish();

 private:
  struct Free {
    void operator()(void* context) const noexcept;
  };

  std::unique_ptr<void, Free> context_;
};

}  // namespace platform::detail
