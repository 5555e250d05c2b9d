// expect first: A request derives from its mixins publicly
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
class Get : public DataGetRequestable<Get> {
#else
class Get : DataGetRequestable<Get> {
#endif
 public:
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
