// expect first: A JSON model has no reference among its members
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Profile {
  std::string name;
#ifdef CORVANE_CORRECT
  int scores;
#else
  int& scores;
#endif
  bool isNew;
};

void use() {
  JSONGetRequest<Profile>("https://example.com").send([](auto) {});
}
