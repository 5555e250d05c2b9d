// expect first: `header` is no requirement of a request: write `headers`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  HTTPHeaders headers() const { return {{"X-App", "1"}}; }
#else
  HTTPHeaders header() const { return {{"X-App", "1"}}; }
#endif
};

void use() {
  Get().send([](auto) {});
}
