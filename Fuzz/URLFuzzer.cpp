#include "Platform/Foundation/URL.hpp"

#include <curl/curl.h>

#include <algorithm>
#include <boost/url.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "FuzzInput.hpp"
#include "Platform/Foundation/URLComponents.hpp"

namespace platform::fuzz {

namespace {

std::string lowercase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
  return text;
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string text(boost::urls::string_view view) { return {view.data(), view.size()}; }

template <class View>
std::optional<std::string> textIf(bool isPresent, View view) {
  if (!isPresent) return std::nullopt;
  return text(view);
}

/// A strict reader has to see the same parts everywhere.
void compareWithBoost(std::string_view written, const std::optional<URLComponents>& parts) {
  if (!parts) return;
  // Boost.URL has no zones (RFC 6874).
  if (parts->percentEncodedHost && parts->percentEncodedHost->starts_with('[') && written.find("%25") != written.npos)
    return;
  const auto parsed = boost::urls::parse_uri_reference({written.data(), written.size()});
  // Boost.URL wants the "v" of a future address in lower case; literals of RFC 5234 are of either.
  if (!parsed && parts->percentEncodedHost && parts->percentEncodedHost->starts_with("[V")) return;
  require(parsed.has_value(), "Boost.URL refuses a URL that this parser accepts");
  const boost::urls::url_view& other = *parsed;
  require(parts->scheme == textIf(other.has_scheme(), other.scheme()), "two readers see two schemes");
  require(parts->percentEncodedHost == textIf(other.has_authority(), other.encoded_host()),
          "two readers see two hosts");
  const bool hasPort = other.has_port() && !other.port().empty();
  require(parts->port.has_value() == hasPort, "two readers disagree about a port");
  require(!hasPort || *parts->port == other.port_number(), "two readers see two ports");
  require(parts->percentEncodedUser == textIf(other.has_userinfo(), other.encoded_user()), "two readers see two users");
  require(parts->percentEncodedPassword == textIf(other.has_password(), other.encoded_password()),
          "two readers see two passwords");
  require(parts->percentEncodedPath == text(other.encoded_path()), "two readers see two paths");
  require(parts->percentEncodedQuery == textIf(other.has_query(), other.encoded_query()),
          "two readers see two queries");
  require(parts->percentEncodedFragment == textIf(other.has_fragment(), other.encoded_fragment()),
          "two readers see two fragments");
  const bool hasPlainPort = !other.has_port() || std::to_string(other.port_number()) == text(other.port());
  if (hasPlainPort) require(parts->string() == written, "the parts do not make the text again");
}

/// What libcurl reads of a part; absent where it sees none.
std::optional<std::string> curlPart(CURLU* url, CURLUPart part, unsigned flags) {
  char* value = nullptr;
  if (curl_url_get(url, part, &value, flags) != CURLUE_OK) return std::nullopt;
  std::string result(value);
  curl_free(value);
  return result;
}

/// Whether a host may be an IPv4 address in one of its unusual forms, such as "0x7f.1": libcurl shows those in the
/// usual one.
bool mayBeAddress(std::string_view host) { return host.find_first_not_of("0123456789abcdefABCDEFxX.") == host.npos; }

/// A lenient reader may accept more, but what both accept leads to the same place.
void compareWithCurl(const URL& url) {
  const std::string scheme = lowercase(url.scheme().value_or(""));
  if ((scheme != "http" && scheme != "https") || !url.host()) return;
  const std::unique_ptr<CURLU, void (*)(CURLU*)> other(curl_url(), &curl_url_cleanup);
  if (url.host()->find('%') != std::string::npos) return;  // libcurl shows no zone in a host
  if (curl_url_set(other.get(), CURLUPART_URL, url.absoluteString().c_str(), 0) != CURLUE_OK) return;
  const auto host = curlPart(other.get(), CURLUPART_HOST, CURLU_URLDECODE);
  require(host.has_value(), "libcurl sees no host");
  const bool isAddress = host->starts_with('[');
  const std::string name = isAddress ? host->substr(1, host->size() - 2) : *host;
  const bool isRewritten = mayBeAddress(*url.host()) || isAddress;
  require(isRewritten || lowercase(name) == lowercase(*url.host()), "libcurl sees another host");
  require(!isAddress || url.host()->find_first_of(":.") != std::string::npos, "libcurl sees an address, this a name");
  const auto port = curlPart(other.get(), CURLUPART_PORT, 0);
  require(port.has_value() == url.port().has_value(), "libcurl disagrees about a port");
  require(!port || *port == std::to_string(*url.port()), "libcurl sees another port");
}

std::optional<URL> checkedURL(std::string_view written) {
  const auto url = URL::parse(written);
  require(url.has_value() == URL::problem(written).empty(), "a URL is refused without a problem, or made with one");
  const auto parts = URLComponents::make(written);
  require(parts.has_value() == url.has_value(), "the parts can be had where the URL cannot, or the other way round");
  if (!url) return url;
  if (isASCII(written)) {
    require(url->absoluteString() == written && url->relativeString() == written, "the text of a URL is not kept");
  } else {
    require(isASCII(url->absoluteString()) && url->relativeString() == url->absoluteString(),
            "an IRI is kept as it is");
    require(URL(url->absoluteString()) == *url, "the URL of an IRI is another when it is made again");
  }
  compareWithBoost(url->absoluteString(), parts);
  const auto again = parts->url();
  require(again.has_value(), "the parts of a URL make none");
  require(URLComponents::make(*again, true) == parts, "the parts of a URL change when it is made again");
  compareWithCurl(*url);
  return url;
}

/// Where a reference leads follows from its own authority, or else from that of its base.
void checkResolution(std::string_view written, const URL& base) {
  const auto reference = URLComponents::make(written);
  const auto resolved = URL::parse(written, base);
  require(reference.has_value() || !resolved, "what is no reference is resolved");
  if (!resolved) return;
  require(URL::parse(resolved->absoluteString()).has_value(), "a resolved URL is none");
  require((resolved->relativeString() == written || !isASCII(written)) && resolved->baseURL() == base,
          "the text of a reference is not kept");
  const auto parts = URLComponents::make(*resolved, true);
  const auto baseParts = URLComponents::make(base, true);
  require(parts && baseParts, "a resolved URL has no parts");
  const bool leadsElsewhere = reference->scheme || reference->percentEncodedHost;
  const URLComponents& origin = leadsElsewhere ? *reference : *baseParts;
  require(parts->scheme == (reference->scheme ? reference->scheme : baseParts->scheme), "resolving changes the scheme");
  require(parts->percentEncodedHost == origin.percentEncodedHost, "resolving changes the host");
  require(parts->port == origin.port, "resolving changes the port");
  require(parts->percentEncodedUser == origin.percentEncodedUser, "resolving changes the user");
  require(parts->percentEncodedFragment == reference->percentEncodedFragment, "resolving changes the fragment");
  if (!parts->scheme) return;
  require(URL(resolved->absoluteString(), base).absoluteString() == resolved->absoluteString() ||
              parts->percentEncodedPath == baseParts->percentEncodedPath,
          "resolving twice is not resolving once");
}

/// A component ends where it should, whatever it holds.
void checkAppending(const URL& url, std::string_view component) {
  const URL longer = url.appendingPathComponent(component);
  const auto parts = URLComponents::make(url, true);
  const auto longerParts = URLComponents::make(longer, true);
  require(parts && longerParts, "appending makes no URL");
  require(parts->percentEncodedHost == longerParts->percentEncodedHost && parts->port == longerParts->port &&
              parts->scheme == longerParts->scheme,
          "appending leads elsewhere");
  require(parts->percentEncodedQuery == longerParts->percentEncodedQuery &&
              parts->percentEncodedFragment == longerParts->percentEncodedFragment,
          "appending changes what follows the path");
}

/// The first line is a URL. The second is a reference to be resolved against it, and a component to be appended.
void check(std::string_view input) {
  const auto url = checkedURL(takeLine(input));
  if (!url) return;
  checkResolution(input, *url);
  checkAppending(*url, input);
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
