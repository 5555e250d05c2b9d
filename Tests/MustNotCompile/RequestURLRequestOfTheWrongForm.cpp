// expect: `urlRequest` must be `URLRequest urlRequest.. const`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  URLRequest urlRequest() const { return generateRequest(); }
#else
  int urlRequest() const { return 1; }
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
