// expect: `destinationPath` is no requirement of a request: write `destination`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DownloadRequestable<Request> {
  URL url;
#ifdef CORVANE_CORRECT
  HTTPDownloadDestination destination;
#else
  std::string destinationPath;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
