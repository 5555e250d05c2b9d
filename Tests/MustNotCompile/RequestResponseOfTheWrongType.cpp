// expect: `Response` must be a response type
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Request : HTTPGetRequestable<Request, DataResponse> {
#else
struct Request : HTTPGetRequestable<Request, std::string> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
