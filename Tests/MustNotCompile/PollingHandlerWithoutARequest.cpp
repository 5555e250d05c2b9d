// expect first: A polling handler is called with a request and its response
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPPolling<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
#ifdef CORVANE_CORRECT
  Get::poll([](const Get&, const DataResponse&) {});
#else
  Get::poll([](const DataResponse&) {});
#endif
}
