// expect first: A mixin is given the type that derives from it.*given a type that is only declared
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get> {
#else
struct Get : DataGetRequestable<Other> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
