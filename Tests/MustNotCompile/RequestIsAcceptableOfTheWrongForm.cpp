// expect: `isAcceptable` must be `bool isAcceptable.HTTPStatus status. const`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  bool isAcceptable(HTTPStatus) const { return true; }
#else
  bool isAcceptable(int) const { return true; }
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
