// expect: A behaviour is adopted beside a request mixin
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPPolling<Get> {
#else
struct Get : HTTPPolling<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { Get::poll(); }
