// expect: `shouldWaitForConnectivity` must be a bool
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  bool shouldWaitForConnectivity = true;
#else
  int shouldWaitForConnectivity = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
