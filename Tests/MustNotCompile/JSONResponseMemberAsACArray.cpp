// expect first: A JSON model has no C array
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  std::array<int, 3> scores;
#else
  int scores[3];
#endif
  bool isNew;
};

void use() {
  JSONGetRequest<Profile>("https://example.com").send([](auto) {});
}
