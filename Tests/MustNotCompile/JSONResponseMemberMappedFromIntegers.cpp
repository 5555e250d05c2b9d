// expect: JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`
// names: app::Profile, "years", std::map<int
#include <map>

#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  std::map<std::string, std::string> years;
#else
  std::map<int, std::string> years;
#endif
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
