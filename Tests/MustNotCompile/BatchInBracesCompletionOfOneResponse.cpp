// expect first: The completion of a batch is called with the list of all responses
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const DataGetRequest& request) {
#ifdef CORVANE_CORRECT
  send({request, request}, DispatchQueue::main(), true, {}, [](std::vector<DataResponse>) {});
#else
  send({request, request}, DispatchQueue::main(), true, {}, [](DataResponse) {});
#endif
}
