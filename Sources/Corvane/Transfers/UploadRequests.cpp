#include "Corvane/Transfers/UploadRequests.hpp"

namespace corvane {

template class HTTPRequestable<DataUploadRequest, DataResponse>;
template class HTTPRequestable<FileUploadRequest, DataResponse>;
template class HTTPRequestable<MultipartUploadRequest, DataResponse>;
template class UploadRequestable<DataUploadRequest, DataResponse>;
template class UploadRequestable<FileUploadRequest, DataResponse, platform::URL>;
template class UploadRequestable<MultipartUploadRequest, DataResponse, std::vector<MultipartFormSection>>;

}  // namespace corvane
