// expect first: `waitForConnectivity` is no requirement of a request: write `shouldWaitForConnectivity`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  bool shouldWaitForConnectivity = true;
#else
  bool waitForConnectivity = true;
#endif
};

void use() {
  Get().send([](auto) {});
}
