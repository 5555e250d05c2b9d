// expect first: A mixin is given the type that derives from it.*this one names another
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct User {
  std::int64_t id;
};
struct Other {};

#ifdef CORVANE_CORRECT
struct Get : JSONGetRequestable<Get, User> {
#else
struct Get : JSONGetRequestable<Other, User> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
