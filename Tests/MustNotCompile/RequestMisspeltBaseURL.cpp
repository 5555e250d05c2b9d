// expect: `baseUrl` is no requirement of a request: write `baseURL`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  URL baseURL = "https://example.com";
#else
  URL baseUrl = "https://example.com";
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
