// expect: `contentType` is required for a body that is not Data
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataPostRequestable<Request, std::string> {
#ifdef CORVANE_CORRECT
  std::string body;
  HTTPMediaType contentType() const { return HTTPMediaType::textPlain; }
#else
  std::string body;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
