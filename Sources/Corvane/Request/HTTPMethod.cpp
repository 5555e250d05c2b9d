#include "Corvane/Request/HTTPMethod.hpp"

// Made before other static objects, so that a request that is itself static may use them.
#define CORVANE_MADE_FIRST __attribute__((init_priority(101)))

namespace corvane {

CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::get{"GET"};
CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::head{"HEAD"};
CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::post{"POST"};
CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::put{"PUT"};
CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::patch{"PATCH"};
CORVANE_MADE_FIRST const HTTPMethod HTTPMethod::delete_{"DELETE"};

}  // namespace corvane
