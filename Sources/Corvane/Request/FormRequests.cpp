#include "Corvane/Request/FormRequests.hpp"

namespace corvane {

template class HTTPRequestable<DataFormPostRequest, DataResponse>;

}  // namespace corvane
