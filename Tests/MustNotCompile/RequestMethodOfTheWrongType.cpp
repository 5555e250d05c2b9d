// expect: `method` must be an HTTPMethod
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : HTTPRequestable<Request, DataResponse> {
#ifdef CORVANE_CORRECT
  HTTPMethod method = HTTPMethod::get;
#else
  int method = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
