// expect: `timeoutInterval` must be a number of seconds
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  int timeoutInterval = 3;
#else
  std::string timeoutInterval;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
