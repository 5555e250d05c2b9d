// expect: `body` is required and must convert to `Body`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct SendRows : DataPostRequestable<SendRows, HTTPBodyProducer> {
#ifdef CORVANE_CORRECT
  HTTPBodyProducer body;
#else
  std::optional<Data> (*body)();
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const SendRows& request) {
  request.send(std::nullopt, [](auto) {});
}
