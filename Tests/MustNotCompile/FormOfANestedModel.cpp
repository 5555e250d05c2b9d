// expect: This member of this model is no value of a form
// names: app::Search, "place", app::Place
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Place {
  double latitude;
};
struct Search {
  std::string words;
#ifdef CORVANE_CORRECT
  double place;
#else
  Place place;
#endif
};
}  // namespace app

HTTPFormBody use(const app::Search& search) { return HTTPFormBody::of(search); }
