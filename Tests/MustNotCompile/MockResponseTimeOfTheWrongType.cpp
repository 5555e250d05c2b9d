// expect: `mockResponseTime` must convert to double
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  int mockResponseTime = 1;
#else
  const char* mockResponseTime = "1 s";
#endif
};

void use() {
  Get().send([](auto) {});
}
