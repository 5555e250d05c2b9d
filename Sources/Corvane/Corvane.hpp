#pragma once

/// Everything that an application needs to describe requests, send them and read the responses:
///
///     #include <Corvane/Corvane.hpp>
///     using namespace corvane;

#include "Corvane/Authentication/BasicAuthentication.hpp"
#include "Corvane/Authentication/BearerAuthentication.hpp"
#include "Corvane/Authentication/DigestAuthentication.hpp"
#include "Corvane/Behaviours/HTTPBatch.hpp"
#include "Corvane/Behaviours/HTTPMockable.hpp"
#include "Corvane/Behaviours/HTTPPolling.hpp"
#include "Corvane/Behaviours/HTTPRetryAtempting.hpp"
#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "Corvane/DebugOutput/HTTPRedaction.hpp"
#include "Corvane/DebugOutput/ShellCommand.hpp"
#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPInterceptorError.hpp"
#include "Corvane/Errors/HTTPNetworkForbiddenError.hpp"
#include "Corvane/Errors/HTTPRequestError.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPStreamError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Corvane/Errors/HTTPUploadError.hpp"
#include "Corvane/Request/DataRequests.hpp"
#include "Corvane/Request/FormRequests.hpp"
#include "Corvane/Request/HTTPBodyProducer.hpp"
#include "Corvane/Request/HTTPByteRange.hpp"
#include "Corvane/Request/HTTPContentRange.hpp"
#include "Corvane/Request/JSONRequests.hpp"
#include "Corvane/Request/RequestKinds.hpp"
#include "Corvane/Request/UserAgent.hpp"
#include "Corvane/Responses/DecodeError.hpp"
#include "Corvane/Responses/ProblemDetails.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/Streaming/HTTPLines.hpp"
#include "Corvane/Streaming/ServerSentEvents.hpp"
#include "Corvane/Streaming/StreamGetRequest.hpp"
#include "Corvane/TemporaryDirectory.hpp"
#include "Corvane/Transfers/DownloadRequests.hpp"
#include "Corvane/Transfers/MultipartForm.hpp"
#include "Corvane/Transfers/UploadRequests.hpp"
#include "Corvane/Transport/HTTPClientConfiguration.hpp"
#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Corvane/Transport/HTTPRequestCancelable.hpp"
#include "Platform/Foundation/JSON/EncodingError.hpp"
#include "Platform/Foundation/Locale.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Velisand/Sleep.hpp"
#include "Velisand/Task.hpp"
#include "Velisand/WhenAll.hpp"
#include "Velisand/WhenAny.hpp"
#include "Velisand/WithTimeout.hpp"

namespace corvane {

using platform::AnyValue;
using platform::CacheConfiguration;
using platform::ConnectionConfiguration;
using platform::Data;
using platform::DecodingError;
using platform::DigestMismatch;
using platform::DispatchQueue;
using platform::EncodingError;
using platform::Error;
using platform::HostAddressMapping;
using platform::HTTPErrorResponse;
using platform::HTTPHeaderFields;
using platform::HTTPURLResponse;
using platform::HTTPVersions;
using platform::IPVersions;
using platform::JSONCodec;
using platform::JSONDateStrategy;
using platform::JSONDecoder;
using platform::JSONEncoder;
using platform::JSONFormatting;
using platform::JSONKey;
using platform::JSONKeyStrategy;
using platform::JSONKind;
using platform::JSONName;
using platform::JSONObject;
using platform::JSONReader;
using platform::JSONStrategies;
using platform::JSONValue;
using platform::JSONWriter;
using platform::Locale;
using platform::ProxyAuthentication;
using platform::ProxyConfiguration;
using platform::ProxyKind;
using platform::SecCertificate;
using platform::SecIdentity;
using platform::SHA256Digest;
using platform::TaskMetrics;
using platform::TLSConfiguration;
using platform::TLSPins;
using platform::TLSVersion;
using platform::URL;
using platform::URLRequest;
using platform::URLRequestCachePolicy;
using platform::URLResponse;
using platform::UUID;
using velisand::Future;
using velisand::IndexedValue;
using velisand::sleepFor;
using velisand::sleepUntil;
using velisand::Task;
using velisand::whenAll;
using velisand::whenAny;
using velisand::whenAnySucceeds;
using velisand::withTimeout;

}  // namespace corvane
