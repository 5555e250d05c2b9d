// expect: `pollingRate` belongs to the type
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPPolling<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  static constexpr double pollingRate = 60;
#else
  double pollingRate = 60;
#endif
};

void use() { Get::poll(); }
