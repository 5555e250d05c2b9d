// expect first: Each name and its value have braces of their own
#include "Corvane/Corvane.hpp"

using namespace corvane;

HTTPFormBody use() {
#ifdef CORVANE_CORRECT
  return {{"name", "Ada"}};
#else
  return {"name", "Ada"};
#endif
}
