// expect first: `body` does nothing in this request: only one with a body sends it
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPBodyRequestable<Get> {
#else
struct Get : DataGetRequestable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  Data body;
};

void use() {
  Get().send([](auto) {});
}
