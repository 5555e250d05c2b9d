#include "Corvane/Transfers/UploadRequests.hpp"

namespace corvane {

template class HTTPRequestable<DataUploadRequest, DataResponse>;
template class HTTPRequestable<FileUploadRequest, DataResponse>;
template class UploadRequestable<DataUploadRequest, DataResponse>;
template class UploadRequestable<FileUploadRequest, DataResponse, platform::URL>;

}  // namespace corvane
