#include "Platform/Loading/ProxyConfiguration.hpp"

#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Loading/Internal/ProxyOptions.hpp"
#include "Platform/Networking/HTTPText.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform {

namespace {

/// Of a user name, a password (RFC 1929, 2) and a host name (RFC 1928, 5).
constexpr std::size_t mostBytesOfSOCKS = 255;

constexpr const char* beginning = "The URL of a proxy begins with http:// or socks5h://.";

std::string shown(std::string_view text) { return "\"" + detail::printable(text) + "\""; }

std::string problemOfHTTP(const ProxyConfiguration& proxy) {
  const bool isBasic = proxy.authentication == ProxyAuthentication::basic;
  if (!isBasic && proxy.user.empty()) return "Digest authentication with the proxy needs a user name.";
  if (isBasic && proxy.user.find(':') != std::string::npos)
    return "The proxy's user name has a colon, which Basic authentication cannot carry.";
  if (detail::holdsForbiddenControl(proxy.user) || detail::holdsForbiddenControl(proxy.password))
    return "The proxy's user name or password has a control character.";
  return {};
}

std::string problemOfSOCKS(const ProxyConfiguration& proxy) {
  if (proxy.user.size() > mostBytesOfSOCKS || proxy.password.size() > mostBytesOfSOCKS)
    return "The proxy's user name or password has more than 255 bytes, which SOCKS cannot carry.";
  if (proxy.user.empty() != proxy.password.empty())
    return "A SOCKS proxy is told a user name and a password, or neither.";
  if (proxy.authentication != ProxyAuthentication::basic)
    return "Digest authentication is for an HTTP proxy: SOCKS does not have it.";
  return {};
}

[[noreturn]] void refuse(std::string sentence) {
  throw Error("NSOSStatusErrorDomain", OSStatus::param, std::move(sentence));
}

ProxyKind kindOf(std::string_view scheme) {
  if (scheme == "http") return ProxyKind::http;
  if (scheme == "socks5" || scheme == "socks5h") return ProxyKind::socks5;
  if (scheme == "https") refuse("A TLS connection to the proxy itself is not supported: use http.");
  refuse(beginning);
}

}  // namespace

std::string ProxyConfiguration::problem() const {
  if (kind == ProxyKind::none) return {};
  // Credentials may be in it, in the wrong place.
  if (!detail::hostName(host)) return "The proxy's host is neither a name nor an address.";
  if (port == 0) return "The proxy " + shown(host) + " has no port: write HOST:PORT.";
  if (std::string problem = kind == ProxyKind::http ? problemOfHTTP(*this) : problemOfSOCKS(*this); !problem.empty())
    return problem;
  for (const std::string& exception : exceptions) {
    if (detail::ProxyException::fromText(exception)) continue;
    const std::string what = exception.find('@') == exception.npos ? shown(exception) : "An exception with an \"@\"";
    return what + " is neither a domain nor a network that a proxy can be left out for.";
  }
  return {};
}

ProxyConfiguration ProxyConfiguration::fromText(std::string_view text) {
  const std::size_t colon = text.find("://");
  if (colon == text.npos) refuse(beginning);
  ProxyConfiguration proxy;
  proxy.kind = kindOf(detail::lowercased(text.substr(0, colon)));
  const auto url = URL::parse("http" + std::string(text.substr(colon)));
  if (!url || !url->host()) refuse("The URL of the proxy is malformed: write http://HOST:PORT or socks5h://HOST:PORT.");
  const std::string path = url->path();
  if ((!path.empty() && path != "/") || url->query() || url->fragment())
    refuse("The URL of a proxy ends with its port: it has no path and no query.");
  proxy.host = *url->host();
  proxy.port = url->port().value_or(0);
  proxy.user = url->user().value_or("");
  proxy.password = url->password().value_or("");
  if (std::string problem = proxy.problem(); !problem.empty()) refuse(std::move(problem));
  return proxy;
}

}  // namespace platform
