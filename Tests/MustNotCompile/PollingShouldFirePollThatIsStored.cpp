// expect: `shouldFirePoll` belongs to the type
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPPolling<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  static bool shouldFirePoll() { return false; }
#else
  bool shouldFirePoll() const { return false; }
#endif
};

void use() { Get::poll(); }
