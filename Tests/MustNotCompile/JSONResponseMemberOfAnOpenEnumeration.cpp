// expect: JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`
// names: app::Profile, "color", app::Color
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
#ifdef CORVANE_CORRECT
enum Color : int { red, green };
#else
enum Color { red, green };
#endif
struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  Color color;
#else
  Color color;
#endif
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
