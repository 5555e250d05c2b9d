// expect first: A JSON model has no bit-fields
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  std::uint8_t scores;
#else
  unsigned scores : 3;
#endif
  bool isNew;
};

void use() {
  JSONGetRequest<Profile>("https://example.com").send([](auto) {});
}
