#include "Corvane/Request/DataRequests.hpp"

namespace corvane {

template struct HTTPResponse<platform::Data>;
template class detail::ResponseExchange<DataResponse>;
template struct detail::SendFuture<DataResponse>;
template class HTTPRequestable<DataGetRequest, DataResponse>;
template class HTTPRequestable<DataHeadRequest, DataResponse>;
template class HTTPRequestable<DataDeleteRequest, DataResponse>;
template class HTTPRequestable<DataPostRequest, DataResponse>;
template class HTTPRequestable<DataPutRequest, DataResponse>;
template class HTTPRequestable<DataPatchRequest, DataResponse>;
template class HTTPRequestable<DataRequest, DataResponse>;

}  // namespace corvane
