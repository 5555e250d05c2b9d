// expect: `acceptType` must be an HTTPMediaType
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  HTTPMediaType acceptType = HTTPMediaType::json;
#else
  int acceptType = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
