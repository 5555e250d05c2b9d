// expect first: `timeout` is no requirement of a request: write `timeoutInterval`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  double timeoutInterval = 5;
#else
  double timeout = 5;
#endif
};

void use() {
  Get().send([](auto) {});
}
