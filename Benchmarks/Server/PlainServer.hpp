#pragma once

#include <openssl/ssl.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

#include "Harness/Descriptor.hpp"
#include "Server/ServedConnection.hpp"

namespace bench {

/// An HTTP/1.1 server that does as little as possible for a GET or a PUT, so that what a client costs shows: one
/// thread, one epoll, responses made beforehand. It listens on three ports of the loopback: plain, TLS, and TLS with
/// sessions that can be resumed.
///
/// `/small` 100 bytes; `/close` the same, then the connection is closed; `/delay100` the same after 100 ms;
/// `/large` 256 MiB. What is put is thrown away, and answered as what is got.
class PlainServer {
 public:
  /// The paths name PEM files.
  PlainServer(const std::string& certificatePath, const std::string& keyPath);
  ~PlainServer();
  PlainServer(const PlainServer&) = delete;
  PlainServer& operator=(const PlainServer&) = delete;

  std::uint16_t plainPort() const { return plainPort_; }
  /// Each connection makes a full handshake.
  std::uint16_t securePort() const { return securePort_; }
  /// One that brings a ticket (RFC 8446, 2.2) resumes its session.
  std::uint16_t resumingPort() const { return resumingPort_; }
  /// Serves until `stopDescriptor` becomes readable or is closed at its other end.
  void run(int stopDescriptor);

 private:
  struct Delayed {
    std::int64_t deadlineNanoseconds;
    std::uint64_t connection;
  };

  void accept(const Descriptor& listener, SSL_CTX* tls);
  void serve(ServedConnection& connection);
  void respond(ServedConnection& connection, std::string_view path);
  void respondDelayed();
  void setTimer();

  SSL_CTX* const tls_;
  SSL_CTX* const resumingTLS_;
  Descriptor plainListener_;
  Descriptor secureListener_;
  Descriptor resumingListener_;
  Descriptor epoll_;
  Descriptor timer_;
  std::uint16_t plainPort_;
  std::uint16_t securePort_;
  std::uint16_t resumingPort_;
  std::uint64_t nextConnection_ = 16;
  std::unordered_map<std::uint64_t, std::unique_ptr<ServedConnection>> connections_;
  /// All delays are equal, so the first in is the first due.
  std::deque<Delayed> delayed_;
};

}  // namespace bench
