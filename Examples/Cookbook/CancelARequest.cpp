#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  const DataGetRequest slow(argv[1] + std::string("delay/10"));

  // One token for all calls of a screen, say.
  std::stop_source screen;
  const auto first = slow.send({.stop = screen.get_token()});
  const auto second = slow.send({.stop = screen.get_token()});
  screen.request_stop();

  std::printf("%s\n", first.result().error()->message().c_str());
  std::printf("%s\n", second.result().error()->message().c_str());
}
