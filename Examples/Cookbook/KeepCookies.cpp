#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  const std::string server = argv[1];
  // Cookies are kept in memory, and sent with later requests.
  DataGetRequest(server + "cookies/set?theme=dark").send().get();
  std::printf("%s\n", DataGetRequest(server + "cookies").send().get().body.text().c_str());
}
