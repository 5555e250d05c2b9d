// expect: `keys` of a JSONCodec names a member that the model does not have
// names: app::Profile
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
struct Profile {
  std::string name;
};
}  // namespace app

template <>
struct platform::JSONCodec<app::Profile> {
#ifdef CORVANE_CORRECT
  static constexpr JSONKey keys[] = {{"name", "full_name"}};
#else
  static constexpr JSONKey keys[] = {{"nmae", "full_name"}};
#endif
};

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
