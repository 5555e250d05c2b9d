#pragma once

/// Everything an application needs to describe requests, send them and read the responses:
///
///     #include <Corvane/Corvane.hpp>
///     using namespace corvane;

#include "Corvane/Behaviours/HTTPBatch.hpp"
#include "Corvane/Behaviours/HTTPMockable.hpp"
#include "Corvane/Behaviours/HTTPPolling.hpp"
#include "Corvane/Behaviours/HTTPRetryAtempting.hpp"
#include "Corvane/ContentEncoding/GZipError.hpp"
#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPNetworkForbiddenError.hpp"
#include "Corvane/Errors/HTTPRequestError.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Corvane/Errors/HTTPUploadError.hpp"
#include "Corvane/Request/DataRequests.hpp"
#include "Corvane/Request/JSONRequests.hpp"
#include "Corvane/Request/RequestKinds.hpp"
#include "Corvane/Request/UserAgent.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/TemporaryDirectory.hpp"
#include "Corvane/Transfers/DownloadRequests.hpp"
#include "Corvane/Transfers/MultipartForm.hpp"
#include "Corvane/Transfers/UploadRequests.hpp"
#include "Corvane/Transport/HTTPRequestCancelable.hpp"
#include "Platform/Foundation/JSON/EncodingError.hpp"
#include "Platform/Foundation/Locale.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Velisand/Task.hpp"

namespace corvane {

using platform::AnyValue;
using platform::Data;
using platform::DecodingError;
using platform::DispatchQueue;
using platform::EncodingError;
using platform::Error;
using platform::HTTPHeaderFields;
using platform::HTTPURLResponse;
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
using platform::URL;
using platform::URLRequest;
using platform::URLRequestCachePolicy;
using platform::URLResponse;
using platform::UUID;
using velisand::Future;
using velisand::Task;

}  // namespace corvane
