// expect: A JSON model has no base class, or a JSONCodec of its own
// names: app::Profile
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Entity {
  int id;
};
#ifdef CORVANE_CORRECT
struct Profile {
  Entity entity;
#else
struct Profile : Entity {
#endif
  std::string name;
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
