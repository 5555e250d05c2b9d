// expect: A download or an upload is not streamed
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
#else
struct Feed : DownloadRequestable<Feed>, HTTPStreaming<Feed> {
#endif
  URL url = "https://example.com/feed";
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() { Feed().stream(); }
