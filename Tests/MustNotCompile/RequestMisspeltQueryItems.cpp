// expect first: `query` is no requirement of a request: write `queryItems`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  std::string query;
  HTTPQueryItems queryItems() const {
    return {{ "q", query }};
  }
#else
  HTTPQueryItems query() const { return {{"q", "x"}}; }
#endif
};

void use() {
  Get().send([](auto) {});
}
