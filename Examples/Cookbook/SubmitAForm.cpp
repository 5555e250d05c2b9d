#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  // As a browser sends the fields of a page.
  const DataFormPostRequest search(argv[1] + std::string("echo"), {{"words", "Ada & Co."}, {"page", 2}});
  std::printf("%s\n", search.send().get().body.text().c_str());
}
