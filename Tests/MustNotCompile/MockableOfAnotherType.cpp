// expect: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other : DataGetRequestable<Other>, HTTPMockable<Other> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPMockable<Other> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
