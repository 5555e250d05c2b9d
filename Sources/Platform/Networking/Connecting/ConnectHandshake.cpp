#include "Platform/Networking/Connecting/ConnectHandshake.hpp"

#include "Platform/Networking/Authentication/ProxyDigest.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

std::string authorityOf(const Origin& origin) {
  const bool isIPv6 = origin.host.find(':') != std::string::npos;
  return (isIPv6 ? "[" + origin.host + "]" : origin.host) + ":" + std::to_string(origin.port);
}

std::string connectRequest(const std::string& target, const std::string& authorization) {
  std::string head = "CONNECT " + target + " HTTP/1.1\r\nHost: " + target + "\r\n";
  if (!authorization.empty()) head += "Proxy-Authorization: " + authorization + "\r\n";
  return head + "\r\n";
}

/// Statuses after which the same request may succeed (RFC 9110, 15.5.9, 15.6.3 to 15.6.5; RFC 6585, 4).
bool isForTheMoment(int status) { return status == 408 || status == 429 || (status >= 502 && status <= 504); }

/// Why a request with Basic authentication was refused.
std::string complaintAboutBasic(std::span<const FieldView> fields) {
  const std::string schemes = ProxyDigest::schemes(fields);
  const bool takesBasic = schemes.empty() || schemes.find("basic") != std::string::npos;
  return takesBasic ? "refuses the user name or the password"
                    : "does not take Basic authentication, but asks for: " + schemes;
}

}  // namespace

ConnectHandshake::ConnectHandshake(const Proxy& proxy, const Origin& origin, unsigned challenges)
    : ProxyHandshake(proxy), origin_(origin), challenges_(challenges) {
  const std::string target = authorityOf(origin);
  ProxyDigest::Authorization authorization{.value = proxy.authorization, .nonce = std::nullopt};
  if (proxy.digest) authorization = proxy.digest->authorize("CONNECT", target, Bytes());
  say(connectRequest(target, authorization.value));
  nonce_ = std::move(authorization.nonce);
  parser_.beginTunnel();
}

ProxyHandshake::State ConnectHandshake::take(std::string_view bytes) {
  received_ += bytes.size();
  unparsed_.append(bytes);
  while (true) {
    const ResponseParser::Step step = parser_.next(unparsed_);
    switch (step.event) {
      case ResponseParser::Event::incomplete:
        if (received_ <= maximumBytes) return State::talking;
        return fail(FailureCause::tunnelRefused, "answers a request for a tunnel with a head without end");
      case ResponseParser::Event::interim:
        unparsed_.erase(0, step.consumed);
        break;
      case ResponseParser::Event::head:
        return judge(std::string_view(unparsed_).substr(step.consumed));
      case ResponseParser::Event::failed:
        return fail(FailureCause::tunnelRefused, "does not speak HTTP: " + parser_.failure().message);
      case ResponseParser::Event::body:
      case ResponseParser::Event::end:
        return fail(FailureCause::tunnelRefused, "sent a body without a head");
    }
  }
}

ProxyHandshake::State ConnectHandshake::judge(std::string_view rest) {
  if (parser_.statusCode() / 100 != 2) return refused();
  if (proxy().digest) proxy().digest->note(parser_.head().fields, nonce_);
  if (rest.empty()) return State::open;
  return fail(FailureCause::tunnelRefused,
              "sent " + std::to_string(rest.size()) + " bytes into the tunnel before anything was sent to the server");
}

ProxyHandshake::State ConnectHandshake::refused() {
  if (parser_.statusCode() == 407) {
    if (proxy().digest) return challenged();
    return fail(FailureCause::proxyCredentialsRefused, proxy().authorization.empty()
                                                           ? "asks for a user name and a password, and none are set"
                                                           : complaintAboutBasic(parser_.head().fields));
  }
  const FailureCause cause =
      isForTheMoment(parser_.statusCode()) ? FailureCause::tunnelUnavailable : FailureCause::tunnelRefused;
  return fail(cause, "refuses a tunnel to \"" + origin_.host + "\", port " + std::to_string(origin_.port) + ": " +
                         statusText());
}

ProxyHandshake::State ConnectHandshake::challenged() {
  const auto fields = parser_.head().fields;
  switch (proxy().digest->accept(fields, {.nonce = nonce_, .challenges = challenges_})) {
    case ProxyDigest::Verdict::again:
      return State::challenged;
    case ProxyDigest::Verdict::refused:
      return fail(FailureCause::proxyCredentialsRefused, "refuses the user name or the password");
    case ProxyDigest::Verdict::unsupported:
      break;
  }
  const std::string schemes = ProxyDigest::schemes(fields);
  return fail(FailureCause::proxyCredentialsRefused,
              "does not ask for a Digest that is supported, but for: " + (schemes.empty() ? "nothing" : schemes));
}

/// Status and reason, as they are in the first line.
std::string ConnectHandshake::statusText() const {
  std::string_view line = std::string_view(unparsed_).substr(0, unparsed_.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return detail::printable(line.substr(line.find(' ') + 1));
}

}  // namespace platform::networking
