// expect first: A request is copied when it is sent, so all of its members must be copyable
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  std::shared_ptr<int> page;
#else
  std::unique_ptr<int> page;
#endif
};

void use() {
  Get().send([](auto) {});
}
