#pragma once

#include <optional>
#include <string>

#include "Platform/Networking/Connecting/ProxyHandshake.hpp"
#include "Platform/Networking/HTTP1/ResponseParser.hpp"

namespace platform::networking {

/// Asks an HTTP proxy for a tunnel by CONNECT (RFC 9110, 9.3.6). Any 2xx opens it.
class ConnectHandshake final : public ProxyHandshake {
 public:
  /// Of all heads of the proxy's response together.
  static constexpr std::size_t maximumBytes = 64 * 1024;

  ConnectHandshake(const Proxy& proxy, const Origin& origin, unsigned challenges = 0);

  /// A server behind a tunnel in the clear may speak first, so that its bytes are not to be read here. One that is
  /// secured waits for the client.
  std::size_t wanted() const override { return origin_.isSecure ? 4096 : 1; }
  State take(std::string_view bytes) override;

 private:
  State judge(std::string_view rest);
  State refused();
  State challenged();
  std::string statusText() const;

  const Origin origin_;
  const unsigned challenges_;
  /// That the proxy was told of its user with.
  std::optional<std::string> nonce_;
  ResponseParser parser_;
  std::string unparsed_;
  std::size_t received_ = 0;
};

}  // namespace platform::networking
