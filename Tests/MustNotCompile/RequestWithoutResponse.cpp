// expect: A request names its response type
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Request : HTTPGetRequestable<Request, DataResponse> {
#else
struct Request : HTTPGetRequestable<Request> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

Request request;
