// expect: A type that derives from another request type is sent as that one
#include "Corvane/Corvane.hpp"

using namespace corvane;

template <class Self>
struct AnyGet : DataGetRequestable<Self> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct Get : AnyGet<Get> {};

#ifdef CORVANE_CORRECT
struct PolledGet : AnyGet<PolledGet>, HTTPPolling<PolledGet> {};
#else
struct PolledGet : Get, HTTPPolling<PolledGet> {};
#endif

void use() {
  PolledGet().send([](auto) {});
}
