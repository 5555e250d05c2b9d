// expect: JSON cannot be decoded into this member of this model: give its type a JSONCodec with `decode`
// names: app::Album, "pictures", app::Picture
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
class Picture {
 public:
  explicit Picture(int width) : width_(width) {}

 private:
  int width_;
};
struct Album {
#ifdef CORVANE_CORRECT
  std::vector<int> pictures;
#else
  std::vector<Picture> pictures;
#endif
};
struct Profile {
  std::optional<Album> album;
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
