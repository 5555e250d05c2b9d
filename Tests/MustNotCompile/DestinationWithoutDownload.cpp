// expect: `destination` does nothing in this request: only a download has one
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
  URL url;
#ifdef CORVANE_CORRECT
  std::string destination;
#else
  HTTPDownloadDestination destination;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
