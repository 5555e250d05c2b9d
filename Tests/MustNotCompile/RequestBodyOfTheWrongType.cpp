// expect: `body` is required and must convert to `Body`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataPostRequestable<Request> {
#ifdef CORVANE_CORRECT
  Data body;
#else
  int body = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
