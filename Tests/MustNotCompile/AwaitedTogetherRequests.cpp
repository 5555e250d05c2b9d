// expect: Futures and tasks are awaited together
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const DataGetRequest& one, const DataGetRequest& two) {
#ifdef CORVANE_CORRECT
  whenAll(one.send(), two.send());
#else
  whenAll(one, two);
#endif
}
