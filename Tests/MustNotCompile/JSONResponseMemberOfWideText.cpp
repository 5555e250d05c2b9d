// expect: JSON cannot be decoded into this member of this model
// names: app::Note, "text"
#include "Corvane/Corvane.hpp"

namespace app {

struct Note {
#ifdef CORVANE_CORRECT
  std::string text;
#else
  std::u16string text;
#endif
};

}  // namespace app

void send() {
  corvane::JSONGetRequest<app::Note>("http://127.0.0.1/").send([](auto) {});
}
