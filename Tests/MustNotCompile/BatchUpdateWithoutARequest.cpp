// expect first: The update of a batch is called with a request and its response
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const std::vector<DataGetRequest>& requests) {
#ifdef CORVANE_CORRECT
  send(requests, true, [](const DataGetRequest&, const DataResponse&) {});
#else
  send(requests, true, [](const DataResponse&) {});
#endif
}
