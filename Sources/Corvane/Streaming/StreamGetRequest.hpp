#pragma once

#include <utility>

#include "Corvane/Request/DataMethodRequestable.hpp"
#include "Corvane/Request/StoredRequest.hpp"
#include "Corvane/Streaming/HTTPStreaming.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

namespace detail {
template <class Self>
struct StreamingGetRequestable : DataGetRequestable<Self>, HTTPStreaming<Self> {};
}  // namespace detail

/// A "GET" of a URL whose response can be streamed: `StreamGetRequest(url).stream()`. An immutable value.
class CORVANE_API StreamGetRequest final
    : public detail::StoredRequest<detail::StreamingGetRequestable<StreamGetRequest>> {
 public:
  /// Headers and query items by name.
  explicit StreamGetRequest(platform::URL url, HTTPRequestOptions options = {})
      : StoredRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  StreamGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

// Compiled once, in the library.
extern template class HTTPRequestable<StreamGetRequest, DataResponse>;
extern template class HTTPStreaming<StreamGetRequest>;

}  // namespace corvane
