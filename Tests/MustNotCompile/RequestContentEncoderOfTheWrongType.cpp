// expect: `contentEncoder` must be an HTTPContentEncoderType or absent
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Request : DataPostRequestable<Request> {
#ifdef CORVANE_CORRECT
  std::optional<HTTPContentEncoderType> contentEncoder;
#else
  int contentEncoder = 1;
#endif
  Data body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const Request& request) {
  request.send(std::nullopt, [](auto) {});
}
