// expect: JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`
// names: app::Profile, "parent", app::Profile
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  std::vector<Profile> parent;
#else
  Profile* parent;
#endif
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
