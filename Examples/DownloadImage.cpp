// Downloads a picture, PNG or JPEG, and decodes it. Needs the optional library Corvane::Image.
//
//   example_DownloadImage URL

#include <Corvane/Corvane.hpp>
#include <Platform/Imaging/UIImage.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) try {
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/picture.png");

  const platform::UIImage image = DownloadGetRequest<platform::UIImage>(url).send().get().body;
  std::printf("%u x %u pixels\n", image.width(), image.height());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
