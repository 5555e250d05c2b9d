#include <algorithm>
#include <limits>
#include <string_view>

#include "Platform/Loading/Internal/ConnectionPool.hpp"
#include "Platform/Loading/Internal/CurlOption.hpp"
#include "Platform/Loading/Internal/Exchange.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

/// How an exchange's request is written into its handle.
namespace platform::detail {

namespace {

/// Bodies above this size are sent in several steps whose progress is watched.
constexpr std::size_t watchedBodyBytes = 64 * 1024;
/// How much is read from the network at once: little, since every connection under way has such a buffer, or much,
/// where it makes a file arrive in two thirds of the time.
constexpr long ordinaryBufferBytes = 16 * 1024;
constexpr long fileBufferBytes = 512 * 1024;
/// How much is written at once, from memory or from a file. Every write may wake the other side.
constexpr long uploadBufferBytes = 64 * 1024;
constexpr long fileUploadBufferBytes = 1024 * 1024;

/// Methods that announce an empty body rather than none (RFC 9110, 8.6).
bool expectsBody(std::string_view method) { return method == "POST" || method == "PUT" || method == "PATCH"; }

}  // namespace

void Exchange::setConstantOptions() {
  setOption(handle_, CURLOPT_PRIVATE, this);
  setOption(handle_, CURLOPT_CURLU, url_);
  setOption(handle_, CURLOPT_ERRORBUFFER, errorText_);
  setOption(handle_, CURLOPT_NOSIGNAL, 1L);
  // Cancelling while a name is being resolved must not wait for the resolver.
  setOption(handle_, CURLOPT_QUICK_EXIT, 1L);
  setOption(handle_, CURLOPT_PROTOCOLS_STR, "http,https");
  setOption(handle_, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  setOption(handle_, CURLOPT_FOLLOWLOCATION, 0L);
  setOption(handle_, CURLOPT_HTTP_CONTENT_DECODING, 0L);
  setOption(handle_, CURLOPT_PATH_AS_IS, 1L);
  // Configuration is by code alone: no proxy from the environment.
  setOption(handle_, CURLOPT_PROXY, "");
  // Time-outs are ours; libcurl's own would end a connect after 300 s.
  setOption(handle_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<int>::max()));
  setOption(handle_, CURLOPT_HEADERFUNCTION, &Exchange::receiveHeaderLine);
  setOption(handle_, CURLOPT_HEADERDATA, this);
  setOption(handle_, CURLOPT_WRITEFUNCTION, &Exchange::receiveBody);
  setOption(handle_, CURLOPT_WRITEDATA, this);
  setOption(handle_, CURLOPT_READFUNCTION, &Exchange::readBody);
  setOption(handle_, CURLOPT_READDATA, this);
  setOption(handle_, CURLOPT_SEEKFUNCTION, &Exchange::seekBody);
  setOption(handle_, CURLOPT_SEEKDATA, this);
  setOption(handle_, CURLOPT_PREREQFUNCTION, &Exchange::connectionReady);
  setOption(handle_, CURLOPT_PREREQDATA, this);
  setOption(handle_, CURLOPT_XFERINFOFUNCTION, &Exchange::progressed);
  setOption(handle_, CURLOPT_XFERINFODATA, this);
  setOption(handle_, CURLOPT_OPENSOCKETFUNCTION, &Exchange::openSocket);
  setOption(handle_, CURLOPT_OPENSOCKETDATA, this);
  setOption(handle_, CURLOPT_CLOSESOCKETFUNCTION, &ConnectionPool::closeSocket);
  setOption(handle_, CURLOPT_CLOSESOCKETDATA, &pool_);
  // The trust gate verifies, with one store for the process.
  setOption(handle_, CURLOPT_SSL_VERIFYPEER, 1L);
  setOption(handle_, CURLOPT_SSL_VERIFYHOST, 2L);
  setOption(handle_, CURLOPT_CAINFO, static_cast<char*>(nullptr));
  setOption(handle_, CURLOPT_CAPATH, static_cast<char*>(nullptr));
  setOption(handle_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
  setOption(handle_, CURLOPT_SSL_CTX_FUNCTION, &Exchange::prepareTLS);
  setOption(handle_, CURLOPT_SSL_CTX_DATA, this);
  if (pool_.share()) {
    setOption(handle_, CURLOPT_SHARE, pool_.share());
    setOption(handle_, CURLOPT_COOKIEFILE, "");
  }
}

std::optional<Error> Exchange::prepare(ExchangeOwner& owner) {
  owner_ = &owner;
  request_ = &owner.requestToSend();
  head_.reset(request_->httpMethod);
  timeout_ = std::max(loopInterval(request_->timeoutInterval), oneMillisecond);
  if (!setURL()) {
    return NSError(kCFErrorDomainCFNetwork, URLErrorCode::badURL,
                   "the transport cannot use the URL " + request_->url.absoluteString());
  }
  setBuffers();
  if (forbidsReuse_) setOption(handle_, CURLOPT_FORBID_REUSE, 0L);
  forbidsReuse_ = false;
  setMethodAndBody();
  if (!setHeaders()) {
    return NSError(NSURLErrorDomain, URLErrorCode::badURL, "a HEAD request cannot carry a body");
  }
  return std::nullopt;
}

bool Exchange::setURL() {
  const std::string& text = request_->url.absoluteString();
  if (text == urlText_) return true;
  urlText_.clear();
  if (curl_url_set(url_, CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK) return false;
  urlText_ = text;
  // Others wait to see whether the first connection to a host can be shared (HTTP/2).
  setOption(handle_, CURLOPT_PIPEWAIT, text.starts_with("https") ? 1L : 0L);
  return true;
}

void Exchange::setMethodAndBody() {
  const std::string& method = request_->httpMethod;
  const char* name = method.c_str();
  source_ = owner_->bodySource();
  sendsBody_ = source_ || request_->httpBody || expectsBody(method);
  if (sendsBody_) {
    setBody();
    if (method == "POST") name = nullptr;
  } else {
    setOption(handle_, CURLOPT_HTTPGET, 1L);
    setOption(handle_, CURLOPT_NOPROGRESS, 1L);
    if (method == "HEAD") setOption(handle_, CURLOPT_NOBODY, 1L);
    if (method == "GET" || method == "HEAD") name = nullptr;
  }
  setOption(handle_, CURLOPT_CUSTOMREQUEST, name);
}

void Exchange::setBody() {
  static const Data nothing;
  const Data& body = request_->httpBody ? *request_->httpBody : nothing;
  if (!source_ && body.count() > watchedBodyBytes) source_ = &memoryBody_.emplace(body);
  // What is empty is not worth asking for.
  const bool isInPieces = source_ && source_->size() > 0;
  if (source_) source_->seek(0);
  const auto length = static_cast<curl_off_t>(source_ ? source_->size() : static_cast<std::int64_t>(body.count()));
  setOption(handle_, CURLOPT_POSTFIELDSIZE_LARGE, length);
  setOption(handle_, CURLOPT_POSTFIELDS, isInPieces ? nullptr : reinterpret_cast<const char*>(body.bytes()));
  setOption(handle_, CURLOPT_POST, 1L);
  setOption(handle_, CURLOPT_NOPROGRESS, isInPieces ? 0L : 1L);
}

void Exchange::setBuffers() {
  const bool movesFiles = owner_->movesFiles();
  const long bytes = movesFiles ? fileBufferBytes : ordinaryBufferBytes;
  if (bytes == bufferBytes_) return;
  bufferBytes_ = bytes;
  setOption(handle_, CURLOPT_BUFFERSIZE, bytes);
  setOption(handle_, CURLOPT_UPLOAD_BUFFERSIZE, movesFiles ? fileUploadBufferBytes : uploadBufferBytes);
}

bool Exchange::setHeaders() {
  if (request_->httpMethod == "HEAD" && (source_ || request_->httpBody)) return false;
  headerText_.clear();
  std::size_t lines = 0;
  auto add = [&](std::string_view name, std::string_view separator, std::string_view value) {
    headerText_.append(name).append(separator).append(value).push_back('\0');
    ++lines;
  };
  const std::string* cookie = nullptr;
  bool hasAccept = false;
  bool hasContentType = false;
  bool hasExpect = false;
  for (const auto& [name, value] : request_->allHTTPHeaderFields) {
    const std::size_t length = name.size();
    if (length == 6 && equalsIgnoringCase(name, "Accept")) hasAccept = true;
    if (length == 12 && equalsIgnoringCase(name, "Content-Type")) hasContentType = true;
    if (length == 6 && equalsIgnoringCase(name, "Expect")) hasExpect = true;
    if (length == 6 && pool_.share() && equalsIgnoringCase(name, "Cookie")) {
      cookie = &value;
    } else if (value.empty()) {
      add(name, ";", {});  // libcurl's way to write a field without a value
    } else {
      add(name, ": ", value);
    }
  }
  // What libcurl would add by itself and the request does not say.
  if (!hasAccept) add("Accept", ":", {});
  if (sendsBody_) {
    if (!hasContentType) add("Content-Type", ":", {});
    // To wait for a permission costs a round trip, and a second at servers that never give it. An answer that
    // comes early is seen while the body is being sent.
    if (!hasExpect) add("Expect", ":", {});
  }
  setOption(handle_, CURLOPT_COOKIE, cookie ? cookie->c_str() : nullptr);

  headerNodes_.resize(lines);
  char* line = headerText_.data();
  for (std::size_t i = 0; i < lines; ++i) {
    headerNodes_[i] = {line, i + 1 < lines ? &headerNodes_[i + 1] : nullptr};
    line += std::char_traits<char>::length(line) + 1;
  }
  setOption(handle_, CURLOPT_HTTPHEADER, headerNodes_.data());
  return true;
}

}  // namespace platform::detail
