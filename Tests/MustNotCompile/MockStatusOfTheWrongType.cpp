// expect: `mockStatus` must convert to HTTPStatus
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPMockable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  HTTPStatus mockStatus = HTTPStatus::notFound;
#else
  int mockStatus = 404;
#endif
};

void use() {
  Get().send([](auto) {});
}
