// expect: A behaviour is adopted beside a request mixin
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
#else
struct Get : HTTPMockable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().mock(std::nullopt, [](auto) {});
}
