// expect: A result of retrying holds responses
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
using Outcome = HTTPRetryResult<DataResponse>;
#else
using Outcome = HTTPRetryResult<int>;
#endif

bool use(const Outcome& outcome) { return outcome.which() == Outcome::Case::noFailure; }
