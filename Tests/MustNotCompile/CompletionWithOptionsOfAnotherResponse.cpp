// expect first: A completion is called with the response
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use() {
#ifdef CORVANE_CORRECT
  DataGetRequest("https://example.com").send({.deadline = 5}, [](DataResponse) {});
#else
  DataGetRequest("https://example.com").send({.deadline = 5}, [](JSONResponse<int>) {});
#endif
}
