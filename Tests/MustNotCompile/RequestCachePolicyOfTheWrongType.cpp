// expect: `cachePolicy` must be a URLRequestCachePolicy
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::useProtocolCachePolicy;
#else
  int cachePolicy = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
