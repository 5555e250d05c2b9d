// expect first: `Path` is no requirement of a request: write `path`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  std::string path = "/users";
#else
  std::string Path = "/users";
#endif
};

void use() {
  Get().send([](auto) {});
}
