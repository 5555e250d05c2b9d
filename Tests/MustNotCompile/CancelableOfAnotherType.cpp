// expect first: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other : DataGetRequestable<Other>, HTTPRequestCancelable<Other> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPRequestCancelable<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPRequestCancelable<Other> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
