// expect: `sharedHeaders` must convert to HTTPHeaders
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  HTTPHeaders sharedHeaders() const { return {}; }
#else
  std::string sharedHeaders;
#endif
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
