// expect: JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`
// names: app::Profile, "profilePicture", app::Picture
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
class Picture {
 public:
  explicit Picture(int width) : width_(width) {}

 private:
  int width_;
};
struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  std::optional<int> profilePicture;
#else
  std::optional<Picture> profilePicture;
#endif
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
