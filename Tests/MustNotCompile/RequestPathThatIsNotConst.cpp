// expect: `path` must convert to std::string
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  std::string path() const { return "/"; }
#else
  std::string path() { return "/"; }
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
