// expect: A JSON body is a value to be encoded
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
using Body = JSONValue;
#else
using Body = Data;
#endif

struct AddUser : JSONPostRequestable<AddUser, EmptyJSON, Body> {
  URL url = "https://example.com/users";
  Body body;
  HTTPHeaders sharedHeaders() const { return {}; }
};

void use(const AddUser& request) {
  request.send(std::nullopt, [](auto) {});
}
