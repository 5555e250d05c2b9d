// expect first: A future's value is shared by everyone who asks for it, so it must be copyable
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct User {
#ifdef CORVANE_CORRECT
  std::shared_ptr<User> colleague;
#else
  std::unique_ptr<User> colleague;
#endif
};

void use() { JSONGetRequest<User>("https://example.com").send(); }
