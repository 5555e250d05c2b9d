#pragma once

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Transfers/Detail/TransferRequestable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// A request with a body that is sent with progress: bytes, text or a JSON model from memory, or a file (`URL`,
/// `std::filesystem::path`, any type with a `fileURL()`), which is read while it is sent and never held in memory as a
/// whole; or an `HTTPBodyProducer` or `HTTPFormData`, made while it is sent. The default method is "POST".
/// `HTTPRequestable` and `HTTPBodyRequestable` describe the other properties and functions.
///
///     struct SendLog : UploadRequestable<SendLog, DataResponse, URL> {
///       URL body;  // of the file
///       URL baseURL = "https://example.com";
///       std::string path = "/logs";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///
///     SendLog{.body = URL::file("/var/log/app.log")}.send(showProgress, [](DataResponse response) { … });
///
/// For a file, `contentType` defaults to the type of its extension, `urlRequest()` has no body, and a `contentEncoder`
/// is refused with `HTTPUploadError::fileCannotBeEncoded`. A response that arrives before the whole body has been sent,
/// such as 413, is delivered like any other.
///
/// The future form returns a `TransferFuture`. Errors in addition to those of any request: `CFNetworkErrors` -1100,
/// -1101, -1102 and -1008 when the file cannot be read, and -1021 when its length changed while it was sent.
template <class Self, class ResponseType = detail::NoResponse, class BodyType = platform::Data>
class UploadRequestable : public detail::TransferRequestable<Self, ResponseType, detail::upload>,
                          public HTTPBodyRequestable<Self, BodyType>,
                          public detail::PostMethod<Self>,
                          public detail::UploadMixin {};

}  // namespace corvane
