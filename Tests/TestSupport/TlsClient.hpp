#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "TestSupport/RawClient.hpp"

struct ssl_st;
struct ssl_ctx_st;

namespace corvane::testkit {

/// A client inside TLS that tells how the handshake and the end of the stream went.
class TlsClient {
 public:
  struct Settings {
    std::string trustedPem;
    /// A host name or an IP address to verify; a host name is also sent to the server.
    std::string name = "localhost";
  };

  TlsClient(const TestServer& server, const Settings& settings);

  bool isConnected() const { return isConnected_; }
  /// Why the server's certificate was refused; empty when it was not.
  const std::string& verifyError() const { return verifyError_; }
  /// Whether the stream ended with the closing alert.
  bool sawGoodbye() const { return sawGoodbye_; }

  void send(std::string_view bytes);
  std::string receiveAll();
  std::string receiveUntil(std::string_view text);
  std::string exchange(std::string_view request);

 private:
  std::string receive();

  RawClient transport_;
  std::shared_ptr<ssl_ctx_st> context_;
  std::shared_ptr<ssl_st> ssl_;
  bool isConnected_ = false;
  bool sawGoodbye_ = false;
  std::string verifyError_;
};

}  // namespace corvane::testkit
