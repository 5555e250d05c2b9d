#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Detail/Requirement.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

namespace platform {
struct DownloadDestination;
class SHA256Digest;
}  // namespace platform

namespace corvane {
class HTTPContentEncoderType;
struct HTTPRetryPolicy;
}  // namespace corvane

/// The requirements of what a request may adopt; see `Requirement.hpp`. Each says what to do about it in a request that
/// has not adopted its mixin. Their defaults are the members of the mixins.
namespace corvane::detail::requirement {

#define CORVANE_REQUIREMENT_OF(property, Kind, rule, type, misspelt, unread)  \
  CORVANE_DESCRIBE(property, Kind, rule CORVANE_HOW_TO_WRITE(property, type), \
                   rule CORVANE_HOW_TO_WRITE(property, type), misspelt, (), unread)

// HTTPBodyRequestable
CORVANE_REQUIREMENT_OF(body, ConvertibleToBody, "is required and must convert to `Body`", "Body", (),
                       "only one with a body sends it; derive from HTTPPostRequestable or one of its siblings, or from "
                       "HTTPBodyRequestable, too")
CORVANE_REQUIREMENT_OF(contentType, ConvertibleTo<HTTPMediaType>, "is required for a body that is not Data",
                       "HTTPMediaType", (contenttype, content_type),
                       "only one with a body has a content type; derive from HTTPBodyRequestable, too")
CORVANE_REQUIREMENT_OF(contentEncoder, ConvertibleTo<std::optional<HTTPContentEncoderType>>,
                       "must be an HTTPContentEncoderType or absent", "std::optional<HTTPContentEncoderType>",
                       (content_encoder),
                       "only one with a body has something to encode; derive from HTTPBodyRequestable, too")

// DownloadRequestable
CORVANE_DESCRIBE(destination, ConvertibleTo<std::optional<platform::DownloadDestination>>, "",
                 "must be an HTTPDownloadDestination: write `HTTPDownloadDestination destination`, or a function that "
                 "returns one, or an optional one",
                 (Destination), (destinationPath, destinationFile, downloadDestination),
                 "only a download has one; derive from DownloadRequestable")
CORVANE_DESCRIBE(expectedDigest, ConvertibleTo<std::optional<platform::SHA256Digest>>, "",
                 "must be a SHA256Digest, or text that is one: write `SHA256Digest expectedDigest`, or a function that "
                 "returns one, or an optional one",
                 (ExpectedDigest, expected_digest), (digest, sha256, expectedSHA256),
                 "only that of a download is checked; derive from DownloadRequestable")

// HTTPRetryAttempting
#define CORVANE_RETRY_REQUIREMENT(property, Kind, missing, rule) \
  CORVANE_DESCRIBE(property, Kind, missing, rule, (), (), "derive from HTTPRetryAttempting, too")

CORVANE_RETRY_REQUIREMENT(retryInterval, ConvertibleTo<platform::Seconds>,
                          "is required: write `static constexpr double retryInterval = 2`, in seconds, or `double "
                          "retryInterval() const`",
                          "must be a number of seconds or a std::chrono duration")
CORVANE_RETRY_REQUIREMENT(retryLimit, Integer,
                          "is required: write `static constexpr std::int64_t retryLimit = 3`, or `std::int64_t "
                          "retryLimit() const`",
                          "must be an integer")
CORVANE_RETRY_REQUIREMENT(retryDelta, Integer, "must be an integer: whole seconds", "must be an integer: whole seconds")
CORVANE_REQUIREMENT_OF(retryPolicy, ConvertibleTo<HTTPRetryPolicy>, "must be an HTTPRetryPolicy", "HTTPRetryPolicy", (),
                       "derive from HTTPRetryAttempting, too")

// HTTPPolling
#define CORVANE_POLLING_REQUIREMENT(property, T, rule)                                             \
  CORVANE_DESCRIBE(property, OfTheType<ConvertibleTo<T>>, "belongs to the type and must be " rule, \
                   "belongs to the type and must be " rule, (), (), "derive from HTTPPolling, too")

CORVANE_POLLING_REQUIREMENT(pollingRate, platform::Seconds,
                            "a number of seconds or a std::chrono duration: write `static constexpr double pollingRate "
                            "= 60`, or `static double pollingRate()`")
CORVANE_POLLING_REQUIREMENT(shouldFirePoll, bool,
                            "a bool: write `static bool shouldFirePoll()`, or a static member of that type")

// HTTPMockable and HTTPTestMockable: the same ten by two names.
#define CORVANE_MOCK_REQUIREMENT(Name, T, type)                                           \
  CORVANE_REQUIREMENT_OF(mock##Name, ConvertibleTo<T>, "must convert to " type, type, (), \
                         "derive from HTTPMockable, too")                                 \
  CORVANE_REQUIREMENT_OF(test##Name, ConvertibleTo<T>, "must convert to " type, type, (), \
                         "derive from HTTPTestMockable, too")

CORVANE_MOCK_REQUIREMENT(URL, std::optional<platform::URL>, "std::optional<URL>")
CORVANE_MOCK_REQUIREMENT(Headers, std::optional<HTTPHeaders>, "std::optional<HTTPHeaders>")
CORVANE_MOCK_REQUIREMENT(Status, HTTPStatus, "HTTPStatus")
CORVANE_MOCK_REQUIREMENT(ResponseTime, platform::Seconds, "double")
CORVANE_MOCK_REQUIREMENT(ExpectedContentLength, std::optional<std::int64_t>, "std::optional<std::int64_t>")
CORVANE_MOCK_REQUIREMENT(SuggestedFilename, std::optional<std::string>, "std::optional<std::string>")
CORVANE_MOCK_REQUIREMENT(MimeType, std::optional<std::string>, "std::optional<std::string>")
CORVANE_MOCK_REQUIREMENT(TextEncodingName, std::optional<std::string>, "std::optional<std::string>")
CORVANE_MOCK_REQUIREMENT(Error, std::optional<platform::Error>, "std::optional<Error>")
CORVANE_MOCK_REQUIREMENT(ResponseData, std::optional<platform::Data>, "std::optional<Data>")

// The ten by either name, and what is derived of them: `Names::status(request)` is what the mock says, or what it says
// for tests.
#define CORVANE_NAMES_OF_RESPONSE(Names, prefix)                                 \
  struct Names {                                                                 \
    static constexpr auto url = prefix##URL;                                     \
    static constexpr auto headers = prefix##Headers;                             \
    static constexpr auto status = prefix##Status;                               \
    static constexpr auto responseTime = prefix##ResponseTime;                   \
    static constexpr auto expectedContentLength = prefix##ExpectedContentLength; \
    static constexpr auto suggestedFilename = prefix##SuggestedFilename;         \
    static constexpr auto mimeType = prefix##MimeType;                           \
    static constexpr auto textEncodingName = prefix##TextEncodingName;           \
    static constexpr auto error = prefix##Error;                                 \
    static constexpr auto responseData = prefix##ResponseData;                   \
                                                                                 \
    template <class Request>                                                     \
    static auto urlResponse(const Request& request) {                            \
      return request.prefix##URLResponse();                                      \
    }                                                                            \
    template <class Request>                                                     \
    static auto computedError(const Request& request) {                          \
      return request.prefix##ComputedError();                                    \
    }                                                                            \
  };

CORVANE_NAMES_OF_RESPONSE(MockNames, mock)
CORVANE_NAMES_OF_RESPONSE(TestNames, test)

}  // namespace corvane::detail::requirement
