#include "Corvane/Transfers/DownloadRequests.hpp"

namespace corvane {

template struct HTTPResponse<platform::URL>;
template class detail::ResponseExchange<DownloadResponse<platform::URL>>;
template struct detail::SendFuture<DownloadResponse<platform::URL>>;
template class HTTPRequestable<DownloadGetRequest<platform::URL>, DownloadResponse<platform::URL>>;
template class HTTPRequestable<DownloadRequest<platform::URL>, DownloadResponse<platform::URL>>;
template class detail::TransferRequestable<DownloadGetRequest<platform::URL>, DownloadResponse<platform::URL>,
                                           detail::download>;
template class detail::TransferRequestable<DownloadRequest<platform::URL>, DownloadResponse<platform::URL>,
                                           detail::download>;

}  // namespace corvane
