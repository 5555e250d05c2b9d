// expect first: The completion of a batch is called with the list of all responses
#include "Corvane/Corvane.hpp"

using namespace corvane;

void use(const std::vector<DataGetRequest>& requests) {
#ifdef CORVANE_CORRECT
  send(requests, DispatchQueue::main(), true, {}, [](std::vector<DataResponse>) {});
#else
  send(requests, DispatchQueue::main(), true, {}, [](DataResponse) {});
#endif
}
