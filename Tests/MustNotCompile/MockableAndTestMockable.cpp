// expect: An HTTPTestMockable is an HTTPMockable: derive from HTTPTestMockable alone
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPTestMockable<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPMockable<Get>, HTTPTestMockable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
