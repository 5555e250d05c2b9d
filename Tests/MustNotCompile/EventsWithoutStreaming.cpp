// expect: Events come from a request that is streamed
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
#else
struct Feed : DataGetRequestable<Feed> {
#endif
  URL url = "https://example.com/feed";
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { serverSentEvents(Feed()); }
