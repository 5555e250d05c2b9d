#include "Corvane/Transfers/UploadRequests.hpp"

namespace corvane {

template class HTTPRequestable<DataUploadRequest, DataResponse>;
template class HTTPRequestable<FileUploadRequest, DataResponse>;
template class HTTPRequestable<MultipartUploadRequest, DataResponse>;
template class HTTPRequestable<FormDataUploadRequest, DataResponse>;
template class HTTPRequestable<ProducedUploadRequest, DataResponse>;
template class detail::TransferRequestable<DataUploadRequest, DataResponse, detail::upload>;
template class detail::TransferRequestable<FileUploadRequest, DataResponse, detail::upload>;
template class detail::TransferRequestable<MultipartUploadRequest, DataResponse, detail::upload>;
template class detail::TransferRequestable<FormDataUploadRequest, DataResponse, detail::upload>;
template class detail::TransferRequestable<ProducedUploadRequest, DataResponse, detail::upload>;

}  // namespace corvane
