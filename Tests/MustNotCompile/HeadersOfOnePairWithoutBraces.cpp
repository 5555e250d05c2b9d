// expect first: Each name and its value have braces of their own
#include "Corvane/Corvane.hpp"

using namespace corvane;

HTTPHeaders use() {
#ifdef CORVANE_CORRECT
  return {{"X-App", "1"}};
#else
  return {"X-App", "1"};
#endif
}
