// expect first: `mockResponseData` does nothing in this request: derive from HTTPMockable, too
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
#else
struct Get : DataGetRequestable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data("x"); }
};

void use() {
  Get().send([](auto) {});
}
