// expect first: The response of a data request must be a DataResponse
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get, DataResponse> {
#else
struct Get : DataGetRequestable<Get, JSONResponse<int> > {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use() {
  Get().send([](auto) {});
}
