// expect: JSON cannot be decoded into this member of this model, which is const
// names: app::Profile, "id"
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  int id;
#else
  const int id;
#endif
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
