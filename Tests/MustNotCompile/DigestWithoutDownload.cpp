// expect: `expectedDigest` does nothing in this request
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
  URL url;
#ifdef CORVANE_CORRECT
  std::string digest;
#else
  std::string expectedDigest;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
