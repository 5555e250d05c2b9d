// expect: A polling type makes a fresh request for each tick
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPPolling<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  explicit Get(int) {}
#ifdef CORVANE_CORRECT
  static std::optional<Get> make() { return Get(1); }
#endif
};

void use() { Get::poll(); }
