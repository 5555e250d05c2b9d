#include <stdexcept>

#include "Corvane/Corvane.hpp"

using namespace corvane;

/// What a debugger is to show when it stops in here.
void stopHere(const Data&, const Data&, const Data&, const URL&, const URL&, const Error&, const Error&,
              const JSONValue&) {}

int main() {
  const Data text("grüezi\n");
  const Data binary(std::string_view("\0\x01\xff", 3));
  const Data nothing;
  const URL absolute("https://example.com/path?q=1");
  const URL relative("users/7", absolute);
  const Error plain(platform::NSURLErrorDomain, platform::URLErrorCode::timedOut, "The request timed out.");
  const Error foreign = Error::from(std::make_exception_ptr(std::runtime_error("no more paper")));
  static_cast<void>(foreign.what());
  const JSONValue document =
      JSONObject{{"id", 7},       {"ratio", 0.5},    {"most", std::uint64_t{18446744073709551615U}},
                 {"isNew", true}, {"none", nullptr}, {"tags", JSONValue::Array{"a", JSONObject{}}}};
  stopHere(text, binary, nothing, absolute, relative, plain, foreign, document);
}
