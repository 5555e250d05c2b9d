// expect first: Each key and its value have braces of their own
#include "Corvane/Corvane.hpp"

using namespace corvane;

HTTPQueryItems use() {
#ifdef CORVANE_CORRECT
  return {{"page", 2}};
#else
  return {"page", 2};
#endif
}
