#include "Platform/Loading/Internal/RequestTarget.hpp"

#include <algorithm>

#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Whether a percent-decoded host may be looked up and sent: nothing that ends an authority or a line, and nothing that
/// makes a name look like an address with a port or a zone.
bool isPlausibleHost(std::string_view host, bool isLiteral) {
  const std::string_view forbidden = isLiteral ? "/?#@[]\\<>^|`{}\"" : "/?#@[]\\<>^|`{}\":%";
  return !host.empty() && std::all_of(host.begin(), host.end(), [forbidden](char c) {
    return static_cast<unsigned char>(c) > 0x20 && c != 0x7f && forbidden.find(c) == forbidden.npos;
  });
}

/// The part between "//" and the path, without the user.
std::string_view writtenAuthority(std::string_view text, std::size_t begin, std::size_t end) {
  const std::string_view authority = text.substr(begin, end - begin);
  const std::size_t at = authority.rfind('@');
  return at == authority.npos ? authority : authority.substr(at + 1);
}

/// In lower case, but the zone of an address, which names an interface of this machine.
std::string hostOfOrigin(const std::string& host) {
  const std::size_t zone = std::min(host.find('%'), host.size());
  return lowercased(host.substr(0, zone)) + host.substr(zone);
}

std::string basicAuthorization(const URL& url) {
  const auto user = url.user();
  const auto password = url.password();
  if (!user && !password) return {};
  const std::string credentials = user.value_or("") + ":" + password.value_or("");
  return "Basic " + toBase64(Data(credentials));
}

}  // namespace

bool RequestTarget::set(const URL& url) {
  if (url_ == url.absoluteString()) return true;
  url_.clear();
  if (!parse(url)) return false;
  url_ = url.absoluteString();
  return true;
}

bool RequestTarget::parse(const URL& url) {
  const std::string_view text = url.absoluteString();
  const std::size_t colon = text.find("://");
  if (colon == text.npos) return false;
  const std::string_view scheme = text.substr(0, colon);
  const bool isSecure = equalsIgnoringCase(scheme, "https");
  if (!isSecure && !equalsIgnoringCase(scheme, "http")) return false;

  const std::size_t begin = colon + 3;
  const std::size_t end = std::min(text.find_first_of("/?#", begin), text.size());
  const bool isLiteral = text.substr(begin, end - begin).find('[') != text.npos;
  const auto host = url.host();
  if (!host || !isPlausibleHost(*host, isLiteral)) return false;
  const std::uint16_t ownPort = isSecure ? 443 : 80;
  route_.origin = {.isSecure = isSecure, .host = hostOfOrigin(*host), .port = url.port().value_or(ownPort)};

  const bool isEscaped = text.substr(begin, end - begin).find('%') != text.npos;
  const std::string_view written = writtenAuthority(text, begin, end);
  if (isEscaped) {
    // A zone means something here only: it is not sent (RFC 6874, 4).
    authority_ = isLiteral ? "[" + host->substr(0, host->find('%')) + "]" : *host;
  } else {
    const std::size_t portColon = written.rfind(':');
    const bool hasPort = portColon != written.npos && written.find(']', portColon) == written.npos;
    authority_ = written.substr(0, hasPort ? portColon : written.size());
  }
  if (route_.origin.port != ownPort) authority_ += ":" + std::to_string(route_.origin.port);

  target_ = text.substr(end, std::min(text.find('#', end), text.size()) - end);
  if (!target_.starts_with('/')) target_.insert(target_.begin(), '/');
  authorization_ = basicAuthorization(url);
  return true;
}

}  // namespace platform::detail
