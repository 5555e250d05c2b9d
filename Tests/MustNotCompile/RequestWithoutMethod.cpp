// expect: `method` is required
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : HTTPRequestable<Request, DataResponse> {
#ifdef CORVANE_CORRECT
  HTTPMethod method() const { return HTTPMethod::get; }
#else

#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
