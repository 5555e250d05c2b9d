// expect first: A completion is called with the response
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use() {
#ifdef CORVANE_CORRECT
  DownloadGetRequest<>("https://example.com").send([](HTTPProgress) {}, [](auto) {});
#else
  DownloadGetRequest<>("https://example.com").send([](HTTPProgress) {}, [](DataResponse) {});
#endif
}
