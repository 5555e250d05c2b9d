// expect: `timeOutInterval` is no requirement of a request: write `timeoutInterval`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  double timeoutInterval = 1;
#else
  double timeOutInterval = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
