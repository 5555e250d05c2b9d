#include <Corvane/Corvane.hpp>
#include <cstdio>

// Sends a GET to the URL given, and tells the outcome in one line.
int main(int, char** arguments) {
  const auto outcome = corvane::DataGetRequest(arguments[1]).send().result();
  if (const auto* error = outcome.error()) {
    std::printf("error: %s\n", error->message().c_str());
  } else {
    std::printf("status %d, %zu bytes\n", outcome.value()->status.rawValue(), outcome.value()->body.size());
  }
}
