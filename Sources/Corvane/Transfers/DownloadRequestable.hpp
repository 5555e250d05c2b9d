#pragma once

#include <concepts>
#include <optional>
#include <utility>

#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Responses/DownloadResponse.hpp"
#include "Corvane/Transfers/Detail/TransferRequestable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace corvane {

/// A request whose response is written to a file while it arrives, never held in memory, of which a `Download` is
/// then made: `URL` (the default) or `std::filesystem::path` for the place of the file, `Data`, text or a JSON model
/// for its content. What else you write and get: see `HTTPRequestable`.
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
/// The file is in a temporary directory of its own, which only this user may enter, under the name that the server
/// suggests, reduced to one safe component; it is yours, and stays until you remove it. It is removed by itself when
/// its URL was not handed out: where the download failed or was cancelled, where the status is not from 200 to 206, and
/// where the `Download` is made of its content. Dropping the future does not remove it. A custom response type is
/// taken to have kept the file unless its `bool keepsFile() const` says otherwise.
///
/// The future form returns a `TransferFuture`. Where a type declares a `send` of its own, the one that counts takes the
/// progress handler, too: `send(queue, progress, completion)`. Beside the errors of any request: `CFNetworkErrors`
/// -3000, -3002 and -3003 when the file cannot be made or written, as on a full disk.
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
  /// What is made of the file.
  using Download = DownloadType;
};

}  // namespace corvane
