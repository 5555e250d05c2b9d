#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Detail/Requirement.hpp"
#include "Corvane/Request/HTTPContentEncoderType.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Corvane/Request/HTTPMethod.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

/// The requirements of a request, and of one with a body; see `Requirement.hpp`. Their defaults are the members of
/// `HTTPRequestable` and `HTTPBodyRequestable`.
namespace corvane::detail::requirement {

CORVANE_REQUIREMENT(baseURL, ConvertibleTo<platform::URL>, "must convert to URL", "URL",
                    (baseUrl, baseurl, BaseURL, base_url), ())
CORVANE_REQUIREMENT(path, ConvertibleTo<std::string>, "must convert to std::string", "std::string", (Path), ())
CORVANE_REQUIREMENT(queryItems, ConvertibleTo<HTTPQueryItems>, "must convert to HTTPQueryItems", "HTTPQueryItems",
                    (queryitems, query_items), (query, queryParameters))
CORVANE_REQUIREMENT(url, ConvertibleTo<platform::URL>, "must convert to URL", "URL", (), ())

CORVANE_REQUIRED(method, ConvertibleTo<HTTPMethod>, "must be an HTTPMethod", "HTTPMethod",
                 "; or derive from HTTPGetRequestable or one of its siblings", (), ())
CORVANE_REQUIRED(sharedHeaders, ConvertibleTo<HTTPHeaders>, "must convert to HTTPHeaders", "HTTPHeaders",
                 "; an empty one will do", (sharedheaders, shared_headers), ())
CORVANE_REQUIREMENT(headers, ConvertibleTo<HTTPHeaders>, "must convert to HTTPHeaders", "HTTPHeaders", (Headers),
                    (header))
CORVANE_REQUIREMENT(acceptType, ConvertibleTo<HTTPMediaType>, "must be an HTTPMediaType", "HTTPMediaType",
                    (acceptedType, accept_type), (accept))
CORVANE_REQUIREMENT(cachePolicy, ConvertibleTo<platform::URLRequestCachePolicy>, "must be a URLRequestCachePolicy",
                    "URLRequestCachePolicy", (cache_policy), ())
CORVANE_REQUIREMENT(timeoutInterval, SecondsOrDuration, "must be a number of seconds or a std::chrono duration",
                    "double", (timeOutInterval, timeout_interval), (timeout, timeOut))
CORVANE_REQUIREMENT(maximumBodyBytes, ConvertibleTo<std::optional<std::int64_t>>, "must be a number of bytes",
                    "std::int64_t", (maxBodyBytes, maximum_body_bytes), ())

CORVANE_REQUIREMENT(shouldSend, Boolean, "must be a bool", "bool", (should_send), ())
CORVANE_REQUIREMENT(shouldWaitForConnectivity, Boolean, "must be a bool", "bool",
                    (shouldWaitForConnection, should_wait_for_connectivity),
                    (waitForConnectivity, waitsForConnectivity))
CORVANE_REQUIREMENT(sessionConfigurationIdentifier, ConvertibleTo<std::optional<std::string>>,
                    "must convert to std::optional<std::string>", "std::string",
                    (sessionIdentifier, session_configuration_identifier), ())
CORVANE_REQUIREMENT(curlCommand, ConvertibleTo<std::string>, "must convert to std::string", "std::string",
                    (curl_command), ())

}  // namespace corvane::detail::requirement
