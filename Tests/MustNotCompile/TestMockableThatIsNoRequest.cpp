// expect: A behaviour is adopted beside a request mixin
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPTestMockable<Get> {
#else
struct Get : HTTPTestMockable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().test(std::nullopt, [](auto) {});
}
