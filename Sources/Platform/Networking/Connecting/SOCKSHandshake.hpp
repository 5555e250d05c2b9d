#pragma once

#include <string>

#include "Platform/Networking/Connecting/ProxyHandshake.hpp"

namespace platform::networking {

/// Has a SOCKS proxy connect to the origin (RFC 1928), with a user name and a password where the proxy wants them
/// (RFC 1929). A name is resolved by the proxy.
class SOCKSHandshake final : public ProxyHandshake {
 public:
  /// A host name has at most 255 bytes; a longer one fails.
  SOCKSHandshake(const Proxy& proxy, const Origin& origin);

  /// Exactly what is missing of the present message, whose length is always known.
  std::size_t wanted() const override { return expected_ - received_.size(); }
  State take(std::string_view bytes) override;

 private:
  enum class Step : std::uint8_t { method, authentication, reply, nameLength, boundAddress };

  State await(Step step, std::size_t bytes);
  State takeMethod();
  State takeAuthentication();
  State takeReply();
  State takeAddress();
  State askForConnection();
  State refused(unsigned char reply);
  unsigned char received(std::size_t place) const { return static_cast<unsigned char>(received_[place]); }
  bool hasCredentials() const { return !proxy().user.empty() || !proxy().password.empty(); }

  const Origin origin_;
  Step step_ = Step::method;
  std::string received_;
  std::size_t expected_ = 2;
};

}  // namespace platform::networking
