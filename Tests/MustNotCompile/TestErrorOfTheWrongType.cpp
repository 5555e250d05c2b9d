// expect: `testError` must convert to std::optional<Error>
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPTestMockable<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
#ifdef CORVANE_CORRECT
  HTTPResponseError testError = HTTPResponseError::noContent();
#else
  std::string testError = "no content";
#endif
};

void use() {
  Get().send([](auto) {});
}
