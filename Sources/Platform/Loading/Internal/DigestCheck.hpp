#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Platform/Loading/DownloadOptions.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Security/Internal/SHA256Hasher.hpp"

namespace platform::detail {

/// Whether bytes that come in pieces have the digest that was expected. Does nothing where none was. What its hasher
/// throws, all of it throws.
class DigestCheck {
 public:
  DigestCheck() = default;
  explicit DigestCheck(const std::optional<SHA256Digest>& expected) : expected_(expected) { startOver(); }

  bool isWanted() const { return expected_.has_value(); }
  /// Forgets what it was given so far.
  void startOver() {
    if (expected_) hasher_.emplace();
  }
  /// Goes on from what the hasher was given.
  void goOnFrom(SHA256Hasher hasher) { hasher_ = std::move(hasher); }
  void add(Bytes bytes) {
    if (hasher_) hasher_->add(bytes);
  }
  /// Throws a `DigestMismatch`. Called once, and last. `path` is for the message.
  void finish(const std::string& path) {
    if (!hasher_) return;
    const SHA256Digest actual = hasher_->finish();
    hasher_.reset();
    if (!(actual == *expected_)) throw DigestMismatch(*expected_, actual, path);
  }

 private:
  std::optional<SHA256Digest> expected_;
  std::optional<SHA256Hasher> hasher_;
};

}  // namespace platform::detail
