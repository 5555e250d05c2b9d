// expect: `destination` must be an HTTPDownloadDestination
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DownloadRequestable<Request> {
  URL url;
#ifdef CORVANE_CORRECT
  HTTPDownloadDestination destination;
#else
  int destination = 0;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
