// expect first: `accept` is no requirement of a request: write `acceptType`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  HTTPMediaType acceptType = "text/csv";
#else
  HTTPMediaType accept = "text/csv";
#endif
};

void use() {
  Get().send([](auto) {});
}
