// expect first: The update of a batch is called with a request and its response
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const std::vector<DataGetRequest>& requests, const SendOptions& options) {
#ifdef CORVANE_CORRECT
  send(requests, options, true, [](const DataGetRequest&, const DataResponse&) {}, [](std::vector<DataResponse>) {});
#else
  send(requests, options, true, [](const DataResponse&) {}, [](std::vector<DataResponse>) {});
#endif
}
