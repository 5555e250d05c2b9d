// expect first: The update of a batch is called with a request and its response
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const DataGetRequest& request) {
#ifdef CORVANE_CORRECT
  send({request, request}, true, [](const DataGetRequest&, const DataResponse&) {});
#else
  send({request, request}, true, [](const DataResponse&) {});
#endif
}
