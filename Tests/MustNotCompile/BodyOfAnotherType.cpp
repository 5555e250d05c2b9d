// expect first: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other : DataGetRequestable<Other>, HTTPBodyRequestable<Other> {
  HTTPHeaders sharedHeaders() const { return {}; }
  Data body;
};

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPBodyRequestable<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPBodyRequestable<Other> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  Data body;
};

void use() {
  Get().send([](auto) {});
}
