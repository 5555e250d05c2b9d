// expect: `sharedHeaders` is required
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  HTTPHeaders sharedHeaders() const { return {}; }
#else

#endif
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
