// expect: This member of this model cannot be encoded as JSON: give its type a JSONCodec with `encode`
// names: app::NewUser, "avatar", app::Picture
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
class Picture {
 public:
  explicit Picture(int width) : width_(width) {}

 private:
  int width_;
};
struct NewUser {
  std::string name;
#ifdef CORVANE_CORRECT
  int avatar;
#else
  Picture avatar;
#endif
};
}  // namespace app

void use(const app::NewUser& user) {
  JSONPostRequest<EmptyJSON>("https://example.com/users", user).send(std::nullopt, [](auto) {});
}
