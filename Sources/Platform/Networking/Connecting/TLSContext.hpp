#pragma once

#include <openssl/ssl.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Networking/Connecting/Route.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::detail {
struct IdentityHandle;
}

namespace platform::networking {

/// What a set of TLS connections has in common.
struct TLSOptions {
  /// Whether HTTP/2 is offered to servers, before HTTP/1.1 (RFC 7301). Without it only HTTP/1.1 is.
  bool offersHTTP2 = true;
  bool offersHTTP1 = true;
  /// TLS1_2_VERSION or later.
  int minimumVersion = TLS1_2_VERSION;
  /// Lists of OpenSSL; empty: its own choice.
  std::string ciphers = {};
  std::string cipherSuites = {};
  /// Shown to servers that ask for it; null: none.
  std::shared_ptr<const detail::IdentityHandle> identity = nullptr;
  /// Where the secrets of connections are written; empty: nowhere.
  std::string keyLogPath = {};
};

/// TLS for all connections whose servers are judged by the same trust: the settings, and the sessions that may be
/// resumed (RFC 8446, 2.2). TLS 1.2 and later. Loop side only.
///
/// It trusts nobody by itself: each new server is judged by the maker of the connection. A resumed session needs no
/// verdict, since its server had one; so a session is kept only of a server that was judged by the trust in force, and
/// `forget` is to be called whenever that changes. Nothing of it comes from the process's environment.
class TLSContext {
 public:
  /// How long a session may be resumed; the server may end it earlier.
  static constexpr Duration sessionLifetime = std::chrono::hours(1);
  /// How many sessions are kept in all; the oldest make room.
  static constexpr std::size_t mostSessions = 256;
  /// How many of them of one server. One of TLS 1.3 is used once (RFC 8446, C.4).
  static constexpr std::size_t mostSessionsOfOrigin = 4;

  /// Traps for options that `problem` refuses.
  static std::shared_ptr<TLSContext> make(const TLSOptions& options = {});
  /// Empty when a context can be made with these options; otherwise a sentence. Any thread.
  static std::string problem(const TLSOptions& options);
  ~TLSContext();
  TLSContext(const TLSContext&) = delete;
  TLSContext& operator=(const TLSContext&) = delete;

  /// Drops all sessions, and those of handshakes under way. Connections that are open stay so.
  void forget();
  /// The same for all contexts of the process, each at its next use. Any thread.
  static void forgetEverywhere();
  /// Grows with each `forget`: tells connections that were judged before from those after it.
  std::uint64_t trustEpoch() const;
  std::size_t sessionCount() const { return sessions_.size(); }

  // For `TLSStream`.

  SSL_CTX* handle() const { return handle_; }
  /// Room for bytes on their way into a record; used until the next call to a stream of this context.
  std::span<std::byte> scratch();
  struct SessionFree {
    void operator()(SSL_SESSION* session) const;
  };
  using Session = std::unique_ptr<SSL_SESSION, SessionFree>;
  /// A session to resume; null when there is none.
  Session takeSession(const Origin& origin, TimePoint now);
  /// Keeps it, unless `forget` was called since `trustEpoch`.
  void keepSession(const Origin& origin, std::uint64_t trustEpoch, Session session, TimePoint now);
  /// Appends the line to the key log.
  void logKeys(std::string_view line);

 private:
  struct Kept {
    std::string host;
    std::uint16_t port;
    Session session;
    TimePoint end;
  };

  TLSContext(SSL_CTX* handle, detail::FileDescriptor keyLog) : handle_(handle), keyLog_(std::move(keyLog)) {}
  void dropOutdated();
  void makeRoom(const Origin& origin);

  SSL_CTX* const handle_;
  const detail::FileDescriptor keyLog_;  ///< not open: nothing is logged
  /// The latest first.
  std::list<Kept> sessions_;
  std::unique_ptr<std::byte[]> scratch_;
  std::uint64_t trustEpoch_ = 0;
  /// How often all contexts had been told to forget when this one looked last.
  std::uint64_t sharedEpoch_ = 0;
};

}  // namespace platform::networking
