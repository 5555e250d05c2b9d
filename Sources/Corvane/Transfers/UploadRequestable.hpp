#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Transfers/TransferSend.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// A request with a body that is sent in pieces, with progress: bytes, text or a JSON model from memory, or a file
/// (`URL`, `std::filesystem::path`, any type with a `fileURL()`), which is read while it is sent and never held in
/// memory. The method is "POST" unless the type says otherwise. What else you write and get: see `HTTPRequestable`
/// and `HTTPBodyRequestable`.
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
/// For a file `contentType` defaults to the type that its extension stands for, `urlRequest()` has no body, and a
/// `contentEncoder` is refused with `HTTPUploadError::fileCannotBeEncoded`. An answer that comes before the whole
/// body was sent, such as 413, is delivered like any other.
///
/// The future form returns a `TransferFuture`. Beside the errors of any request: `CFNetworkErrors` -1100, -1101,
/// -1102 and -1008 when the file cannot be read, and -1021 when it changed its length while it was being sent.
template <class Self, class ResponseType = detail::NoResponse, class BodyType = platform::Data>
class UploadRequestable : public HTTPRequestable<Self, ResponseType>,
                          public HTTPBodyRequestable<Self, BodyType>,
                          public detail::PostMethod<Self>,
                          public detail::UploadMixin,
                          public detail::TransferMixin {
  using Base = HTTPRequestable<Self, ResponseType>;

 public:
  using Base::send;
  using typename Base::Completion;
  using typename Base::Response;

  /// The same as the other forms, with progress: see `HTTPProgressHandler`. Any handler may be null.
  void send(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress, Completion completion) const {
    if constexpr (detail::isSoundRequest<Self>)
      self().sendToNetwork(std::move(queue), std::move(progress), std::move(completion));
  }
  /// The same with progress and completion on the main queue.
  void send(HTTPProgressHandler progress, Completion completion) const {
    self().send(platform::DispatchQueue::main(), std::move(progress), std::move(completion));
  }
  TransferFuture<typename Base::ResponseBody> send() const { return detail::sentWithProgress(self()); }

  /// The plain road: validates, builds the URL request, and uploads on a session.
  void sendToNetwork(std::optional<platform::DispatchQueue> queue, HTTPProgressHandler progress,
                     Completion completion) const {
    detail::startTransfer(detail::upload, self(), std::move(queue), std::move(progress), std::move(completion));
  }

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

}  // namespace corvane
