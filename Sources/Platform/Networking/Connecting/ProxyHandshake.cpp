#include "Platform/Networking/Connecting/ProxyHandshake.hpp"

#include <utility>

#include "Platform/Networking/Connecting/ConnectHandshake.hpp"
#include "Platform/Networking/Connecting/SOCKSHandshake.hpp"

namespace platform::networking {

std::unique_ptr<ProxyHandshake> ProxyHandshake::make(const Proxy& proxy, const Origin& origin, unsigned challenges) {
  if (proxy.kind == Proxy::Kind::socks5) return std::make_unique<SOCKSHandshake>(proxy, origin);
  return std::make_unique<ConnectHandshake>(proxy, origin, challenges);
}

void ProxyHandshake::say(std::string bytes) {
  output_ = std::move(bytes);
  sent_ = 0;
}

ProxyHandshake::State ProxyHandshake::fail(FailureCause cause, const std::string& what) {
  failure_ = {.cause = cause, .message = proxy_.description() + ", " + what};
  return State::failed;
}

}  // namespace platform::networking
