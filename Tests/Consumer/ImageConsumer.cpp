#include <Corvane/Corvane.hpp>
#include <Platform/Imaging/UIImage.hpp>
#include <cstdio>

// Gets the picture at the URL given, and tells its size in one line.
int main(int, char** arguments) {
  const auto outcome = corvane::DataGetRequest(arguments[1]).send().result();
  if (const auto* error = outcome.error()) {
    std::printf("error: %s\n", error->message().c_str());
    return 0;
  }
  try {
    const platform::UIImage image(outcome.value()->body);
    std::printf("%u x %u pixels, %zu bytes\n", image.width(), image.height(), image.pixels().size());
  } catch (const platform::Error& error) {
    std::printf("error: %s\n", error.message().c_str());
  }
}
