#pragma once

namespace platform::detail {

/// Marks, while it lives, that the calling thread uses OpenSSL. False once the process exits: then OpenSSL may be
/// about to take itself apart, as it does when the application was the first to use it, and is left alone.
///
/// For threads that outlive `main`, as workers do. The exit waits for uses that have begun, a second at most.
class OpenSSLUse {
 public:
  OpenSSLUse();
  ~OpenSSLUse();
  OpenSSLUse(const OpenSSLUse&) = delete;
  OpenSSLUse& operator=(const OpenSSLUse&) = delete;
  explicit operator bool() const { return isAllowed_; }

  /// Makes sure that the exit will be noticed, and that OpenSSL takes nothing from its configuration file unless the
  /// application used it first. To be called before anything of OpenSSL is used.
  static void prepare();
  /// For an object of OpenSSL that cannot be freed any more, as the process exits: keeps it reachable, so that
  /// checkers of memory do not take it for lost.
  static void abandon(void* object);

 private:
  const bool isAllowed_;
};

}  // namespace platform::detail
