// expect first: A request is sent to be awaited: write `co_await request.send..`
#include "Corvane/Corvane.hpp"

using namespace corvane;

Task<> use() {
  const DataGetRequest request("https://example.com");
#ifdef CORVANE_CORRECT
  co_await request.send();
#else
  co_await request;
#endif
}
