// expect: A body is produced by a function that returns std::optional<Data>, absent at the end
#include "Corvane/Corvane.hpp"

using namespace corvane;

HTTPBodyProducer use() {
#ifdef CORVANE_CORRECT
  return HTTPBodyProducer([]() -> std::optional<Data> { return Data("row"); });
#else
  return HTTPBodyProducer([]() -> Data { return Data("row"); });
#endif
}
