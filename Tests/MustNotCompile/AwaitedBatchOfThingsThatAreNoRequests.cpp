// expect: What is sent as a batch is a list of requests of one type
#include <vector>

#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Item : DataGetRequestable<Item> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

#ifdef CORVANE_CORRECT
using Items = std::vector<Item>;
#else
using Items = std::vector<int>;
#endif

void use(const Items& items) { send(items, HTTPBatchMode::serial()); }
