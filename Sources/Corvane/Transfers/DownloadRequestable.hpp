#pragma once

#include <concepts>
#include <optional>
#include <utility>

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Responses/DownloadResponse.hpp"
#include "Corvane/Transfers/Detail/TransferRequestable.hpp"
#include "Platform/Loading/DownloadOptions.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// Where a download is saved; see `platform::DownloadDestination`.
using HTTPDownloadDestination = platform::DownloadDestination;

/// A request whose response is written to a file while it arrives, and never held in memory. A `Download` is then made
/// from the file: `URL` (the default) or `std::filesystem::path` is the location of the file; `Data`, text or a JSON
/// model is its content. `HTTPRequestable` describes the other properties and functions.
///
///     struct GetManual : DownloadRequestable<GetManual> {
///       URL baseURL = "https://example.com";
///       std::string path = "/manual.pdf";
///       HTTPHeaders sharedHeaders() const { return {}; }
///     };
///
///     const auto response = GetManual().send().during(showProgress).get();
///     open(response.fileURL());
///
/// | you write                                   | default                                                       |
/// |---------------------------------------------|---------------------------------------------------------------|
/// | `destination`: `HTTPDownloadDestination`    | absent: a temporary directory                                 |
/// | `expectedDigest`: `SHA256Digest`, or text   | absent: any content will do                                   |
///
/// **Without a destination** the file is in a temporary directory of its own, which only this user may enter. It has
/// the name that the server suggests, reduced to one safe component. It belongs to you, and stays until you remove it.
/// The library removes it if its URL was not handed out: when the download failed or was cancelled, when the status is
/// not from 200 to 206, and when the `Download` is made from its content. Dropping the future does not remove it. A
/// custom response type counts as having kept the file unless its `bool keepsFile() const` returns false.
///
/// **With a destination** the file is there after a success, whatever the `Download` is made from. A failure leaves
/// nothing, except that a destination with `resumes` keeps the part that has arrived, and that a file which
/// `overwrites` another stays when the response was refused afterwards, as by `validate(response)`. A destination that
/// cannot be written is an error before anything is sent. Where interceptors send a request more than once, the
/// response that it ends with takes the destination; with `resumes`, each response from 200 to 206 takes it when it
/// arrives.
///
/// The future form returns a `TransferFuture`. A type that declares its own `send` declares the form with the progress
/// handler: `send(queue, progress, completion)`. Errors in addition to those of any request: `CFNetworkErrors` -3000,
/// -3002 and -3003 when the file cannot be created or written, for example on a full disk; -3001 and -3005 of a
/// destination (see `URLSession::downloadTask`); `DigestMismatch`.
template <class Self, class DownloadType = platform::URL, class ResponseType = DownloadResponse<DownloadType>>
class DownloadRequestable : public detail::TransferRequestable<Self, ResponseType, detail::download>,
                            public detail::GetMethod<Self>,
                            public detail::DownloadMark {
  static_assert(velisand::FileInitializable<DownloadType>,
                "`Download` must be a type that is made from a file: URL, Data, std::string, a JSON model, or a class "
                "with a constructor that takes a URL or a Data");
  static_assert(std::same_as<detail::BodyOf<ResponseType>, DownloadType>,
                "The body of a download's response must be its `Download`: name both alike");

 public:
  /// The type made from the file.
  using Download = DownloadType;
  /// This mixin, for the library's own checks.
  using DownloadMixin = DownloadRequestable;

  /// Where the file is saved. Default: absent.
  std::optional<HTTPDownloadDestination> destination() const { return std::nullopt; }
  /// The digest that the file must have; with another one it is removed. Default: absent.
  std::optional<platform::SHA256Digest> expectedDigest() const { return std::nullopt; }
  /// The two together, as the request states them.
  platform::DownloadOptions downloadOptions() const {
    const Self& self = static_cast<const Self&>(*this);
    return {.destination = detail::requirement::destination(self),
            .expectedDigest = detail::requirement::expectedDigest(self)};
  }
};

}  // namespace corvane
