#include "Platform/Networking/Connecting/SOCKSHandshake.hpp"

#include <optional>

namespace platform::networking {

namespace {

constexpr char socksVersion = 5;
constexpr char authenticationVersion = 1;
constexpr char withoutAuthentication = 0;
constexpr char withPassword = 2;
constexpr unsigned char noMethod = 0xFF;
constexpr char connectCommand = 1;
constexpr char typeIPv4 = 1;
constexpr char typeName = 3;
constexpr char typeIPv6 = 4;
constexpr std::size_t replyBytes = 4;
constexpr std::size_t portBytes = 2;
constexpr std::size_t mostNameBytes = 255;

void appendWithLength(std::string& out, std::string_view text) {
  out += static_cast<char>(text.size());
  out += text;
}

std::string numberText(unsigned char value) { return std::to_string(static_cast<unsigned>(value)); }

}  // namespace

SOCKSHandshake::SOCKSHandshake(const Proxy& proxy, const Origin& origin) : ProxyHandshake(proxy), origin_(origin) {
  say(hasCredentials() ? std::string{socksVersion, 2, withoutAuthentication, withPassword}
                       : std::string{socksVersion, 1, withoutAuthentication});
}

ProxyHandshake::State SOCKSHandshake::take(std::string_view bytes) {
  received_.append(bytes);
  if (wanted() > 0) return State::talking;
  switch (step_) {
    case Step::method:
      return takeMethod();
    case Step::authentication:
      return takeAuthentication();
    case Step::reply:
      return takeReply();
    case Step::nameLength:
      return await(Step::boundAddress, received(0) + portBytes);
    case Step::boundAddress:
      break;
  }
  return State::open;
}

ProxyHandshake::State SOCKSHandshake::await(Step step, std::size_t bytes) {
  step_ = step;
  received_.clear();
  expected_ = bytes;
  return State::talking;
}

ProxyHandshake::State SOCKSHandshake::takeMethod() {
  if (received(0) != socksVersion) {
    return fail(FailureCause::socksVersion, "speaks another version of SOCKS: " + numberText(received(0)));
  }
  const unsigned char method = received(1);
  if (method == withoutAuthentication) return askForConnection();
  if (method == withPassword && hasCredentials()) {
    std::string message{authenticationVersion};
    appendWithLength(message, proxy().user);
    appendWithLength(message, proxy().password);
    say(std::move(message));
    return await(Step::authentication, 2);
  }
  if (method == noMethod) {
    return fail(FailureCause::socksMethod,
                hasCredentials() ? "accepts neither a user name and a password nor a client without them"
                                 : "accepts no client without a user name and a password, and none are set");
  }
  return fail(FailureCause::socksMethodUnknown,
              "chose a way of authentication that was not offered: " + numberText(method));
}

ProxyHandshake::State SOCKSHandshake::takeAuthentication() {
  if (received(0) != authenticationVersion) {
    return fail(FailureCause::socksFailed,
                "answers the user name and the password with version " + numberText(received(0)));
  }
  if (received(1) == 0) return askForConnection();
  return fail(FailureCause::socksCredentialsRefused, "refuses the user name or the password");
}

ProxyHandshake::State SOCKSHandshake::askForConnection() {
  std::string message{socksVersion, connectCommand, 0};
  if (const auto address = HostAddress::fromText(origin_.host)) {
    const auto bytes = address->bytes();
    message += address->isIPv6() ? typeIPv6 : typeIPv4;
    message.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  } else if (origin_.host.size() <= mostNameBytes) {
    message += typeName;
    appendWithLength(message, origin_.host);
  } else {
    return fail(FailureCause::nameNotFound, "takes no name of more than 255 bytes");
  }
  message += static_cast<char>(origin_.port >> 8);
  message += static_cast<char>(origin_.port & 0xFF);
  say(std::move(message));
  return await(Step::reply, replyBytes);
}

ProxyHandshake::State SOCKSHandshake::takeReply() {
  if (received(0) != socksVersion) {
    return fail(FailureCause::socksVersion, "replies in another version of SOCKS: " + numberText(received(0)));
  }
  // What follows a refusal is of no use.
  if (received(1) != 0) return refused(received(1));
  return takeAddress();
}

/// Where the proxy connected from; read, since the tunnel begins after it.
ProxyHandshake::State SOCKSHandshake::takeAddress() {
  switch (received(3)) {
    case typeIPv4:
      return await(Step::boundAddress, 4 + portBytes);
    case typeIPv6:
      return await(Step::boundAddress, 16 + portBytes);
    case typeName:
      return await(Step::nameLength, 1);
    default:
      return fail(FailureCause::socksAddress, "replies with an address of an unknown type: " + numberText(received(3)));
  }
}

/// The replies of RFC 1928, 6.
ProxyHandshake::State SOCKSHandshake::refused(unsigned char reply) {
  const std::string to = " \"" + origin_.host + "\", port " + std::to_string(origin_.port);
  switch (reply) {
    case 1:
      return fail(FailureCause::cannotConnect, "failed to connect to" + to);
    case 2:
      return fail(FailureCause::socksFailed, "does not allow a connection to" + to);
    case 3:
      return fail(FailureCause::cannotConnect, "has no network that leads to" + to);
    case 4:
      return fail(FailureCause::cannotConnect, "cannot reach the host" + to);
    case 5:
      return fail(FailureCause::cannotConnect, "was refused a connection by" + to);
    case 6:
      return fail(FailureCause::cannotConnect, "ran out of time (TTL) on the way to" + to);
    case 7:
      return fail(FailureCause::socksFailed, "does not make connections");
    case 8:
      return fail(FailureCause::socksFailed, "does not support addresses such as" + to);
    default:
      return fail(FailureCause::socksFailed,
                  "refuses a connection to" + to + " for an unknown reason: " + numberText(reply));
  }
}

}  // namespace platform::networking
