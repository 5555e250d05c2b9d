// expect first: is not a constant expression
#include "Corvane/Corvane.hpp"

using namespace corvane;

HTTPMediaType use() {
#ifdef CORVANE_CORRECT
  return "text/csv";
#else
  return "csv";
#endif
}
