// expect: `mockResponseData` must convert to std::optional<Data>
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  Data mockResponseData() const { return "x"; }
#else
  Data mockResponseData() { return "x"; }
#endif
};

void use() {
  Get().send([](auto) {});
}
