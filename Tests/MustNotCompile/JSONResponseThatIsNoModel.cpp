// expect: JSON cannot be decoded into this response type: use a plain struct
#include "Corvane/Corvane.hpp"

using namespace corvane;

namespace app {
class Profile {
#ifdef CORVANE_CORRECT
 public:
#else
 private:
#endif
  std::string name_;
};
}  // namespace app

void use() {
  JSONGetRequest<app::Profile>("https://example.com").send(std::nullopt, [](auto) {});
}
