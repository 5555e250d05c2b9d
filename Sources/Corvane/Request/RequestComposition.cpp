#include "Corvane/Errors/HTTPRequestError.hpp"
#include "Corvane/Request/Detail/DefaultHeaders.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Platform/Foundation/URLComponents.hpp"
#include "Platform/Trap.hpp"

namespace corvane::detail {

using platform::HTTPHeaderFields;
using platform::URL;
using platform::URLComponents;
using platform::URLRequest;

namespace {

// "https://host/api" and "https://host/api/" both give "/api", "https://host" gives "".
std::string pathOfBase(const URL& baseURL) {
  std::string path;
  bool isRoot = true;
  for (const std::string& component : baseURL.pathComponents()) {
    if (!isRoot && component != "/") path.append("/").append(component);
    isRoot = false;
  }
  return path;
}

std::string fullPath(const URLDescription& target) {
  std::string path = pathOfBase(target.baseURL);
  if (!target.path.starts_with('/')) path += '/';
  return path + target.path;
}

void putQueryItems(const HTTPQueryItems& items, URLComponents& components) {
  if (items.isEmpty()) return;
  std::vector<platform::URLQueryItem> queryItems;
  queryItems.reserve(static_cast<std::size_t>(items.count()));
  for (const auto& [name, value] : items) queryItems.push_back({name, value.description()});
  components.setQueryItems(queryItems, items.encoding());
}

std::optional<URL> withQueryItems(const URL& url, const HTTPQueryItems& items) {
  if (items.isEmpty()) return url;
  auto components = URLComponents::make(url, true);
  if (!components) return std::nullopt;
  putQueryItems(items, *components);
  return components->url();
}

void merge(HTTPHeaderFields& fields, const HTTPHeaders& headers) {
  for (const auto& [name, value] : headers) {
    if (const std::string* text = value.text()) {
      fields.set(name, *text);
    } else {
      fields.set(name, value.description());
    }
  }
}

}  // namespace

void unreachable() { platform::trap("A request type that is not valid was used"); }

URLDescription::~URLDescription() = default;

RequestDescription::~RequestDescription() = default;

const URL& defaultBaseURL() {
  static const URL& url = *new URL("/");
  return url;
}

const URLRequest& defaultURLRequest() {
  static const URLRequest& request = *new URLRequest(defaultBaseURL());
  return request;
}

std::optional<URL> composedURL(const URLDescription& target) {
  auto components = URLComponents::make(target.baseURL, true);
  if (!components) return std::nullopt;
  components->setPath(fullPath(target));
  putQueryItems(target.queryItems, *components);
  return components->url();
}

URL reportedURL(const URLDescription& target) {
  if (target.ownURL) return *target.ownURL;
  return composedURL(target).value_or(defaultBaseURL());
}

URL createURL(const URLDescription& target) {
  const URL reported = reportedURL(target);
  if (!(reported == defaultBaseURL())) {
    if (!target.ownURLTakesQueryItems) return reported;
    if (auto url = withQueryItems(reported, target.queryItems)) return *url;
  }
  throw HTTPRequestError::malformedURL(urlString(target));
}

URL urlForDebugOutput(const URLDescription& target) {
  try {
    return createURL(target);
  } catch (const std::exception& error) {
    platform::trap(std::string("Debug output needs the URL of a request that has none: ") + error.what());
  }
}

std::string urlString(const URLDescription& target) {
  std::string query;
  for (const auto& [name, value] : target.queryItems) {
    const std::string item = query + name + "=" + value.description();
    query = query.empty() ? item : "," + item;
  }
  return target.baseURL.absoluteString() + target.path + query;
}

HTTPHeaders asText(const HTTPHeaders& headers) {
  HTTPHeaders fields;
  for (const auto& [name, value] : headers) fields.set(name, value.description());
  return fields;
}

HTTPHeaderFields textHeaders(const HTTPHeaders& headers) {
  HTTPHeaderFields fields;
  merge(fields, headers);
  return fields;
}

HTTPHeaderFields composedHeaders(const RequestDescription& description) {
  HTTPHeaderFields fields = defaultHeaders(description.acceptType.value());
  merge(fields, description.sharedHeaders);
  merge(fields, description.headers);
  return fields;
}

URLRequest composedRequest(const RequestDescription& description) {
  URLRequest request(description.url, description.cachePolicy, description.timeoutInterval);
  request.allHTTPHeaderFields = composedHeaders(description);
  request.httpMethod = description.method.rawValue;
  request.maximumBodyBytes = description.maximumBodyBytes;
  return request;
}

void addBody(URLRequest& request, BodyDescription body) {
  request.allHTTPHeaderFields.set("Content-Type", body.contentType.value());
  if (body.contentEncoding) request.allHTTPHeaderFields.set("Content-Encoding", *body.contentEncoding);
  request.httpBody = std::move(body.bytes);
  request.httpBodyStream = std::move(body.stream);
}

}  // namespace corvane::detail
