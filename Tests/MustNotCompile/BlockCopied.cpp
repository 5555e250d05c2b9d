// expect: (use of deleted function|call to deleted constructor).*UniqueFunction
#include "Platform/Dispatch/UniqueFunction.hpp"

platform::Block block;
#ifdef CORVANE_CORRECT
platform::Block other = static_cast<platform::Block&&>(block);
#else
platform::Block other = block;
#endif
