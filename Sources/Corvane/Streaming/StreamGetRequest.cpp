#include "Corvane/Streaming/StreamGetRequest.hpp"

namespace corvane {

template class detail::ResponseExchange<HTTPStreamResponse>;
template class HTTPRequestable<StreamGetRequest, DataResponse>;
template class HTTPStreaming<StreamGetRequest>;

}  // namespace corvane
