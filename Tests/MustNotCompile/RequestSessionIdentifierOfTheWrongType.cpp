// expect: `sessionConfigurationIdentifier` must convert to std::optional<std::string>
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataGetRequestable<Request> {
#ifdef CORVANE_CORRECT
  std::string sessionConfigurationIdentifier;
#else
  int sessionConfigurationIdentifier = 1;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
