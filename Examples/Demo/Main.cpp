// Walks through the library with real requests over real sockets, to a server that it brings along.

#include <cstdio>
#include <exception>

#include "Stage.hpp"
#include "Steps.hpp"
#include "TestSupport/StandardRoutes.hpp"

int main() try {
  corvane::testkit::TestServer server;
  corvane::testkit::installStandardRoutes(server);
  std::printf("A test server listens on %s; everything below really goes there.\n", server.authority().c_str());
  Stage stage({DEMO_FOLDER "/Steps.cpp", DEMO_FOLDER "/TransferSteps.cpp", DEMO_FOLDER "/BehaviourSteps.cpp"});
  playAll(stage, server);
  return stage.finish();
} catch (const std::exception& error) {
  std::fprintf(stderr, "The demo cannot run: %s\n", error.what());
  return 1;
}
