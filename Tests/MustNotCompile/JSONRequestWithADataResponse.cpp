// expect first: The response of a JSON request must be a JSONResponse of its `JSON`
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : JSONGetRequestable<Get, int, JSONResponse<int>> {
#else
struct Get : JSONGetRequestable<Get, int, DataResponse> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
