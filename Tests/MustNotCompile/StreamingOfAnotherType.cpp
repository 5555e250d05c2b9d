// expect: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Feed : DataGetRequestable<Feed> {
  HTTPHeaders sharedHeaders() const { return {}; }
};
#ifdef CORVANE_CORRECT
struct News : DataGetRequestable<News>, HTTPStreaming<News> {
#else
struct News : DataGetRequestable<News>, HTTPStreaming<Feed> {
  using HTTPStreaming<Feed>::stream;
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  const News news;
  static_cast<void>(news);
}
