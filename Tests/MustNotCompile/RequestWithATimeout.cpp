// expect: Futures and tasks are awaited together
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const DataGetRequest& request) {
#ifdef CORVANE_CORRECT
  withTimeout(5, request.send());
#else
  withTimeout(5, request);
#endif
}
