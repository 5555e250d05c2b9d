// Lives on GLib's main loop.
//
//   example_GLibLoop URL

#include <CorvaneGLib/GLib.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) {
  const DataGetRequest request(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100"));
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  const GLibMainLoop mainLoop;

  request.send([loop](const DataResponse& response) {
    std::printf("main queue: status %d\n", static_cast<int>(response.status.rawValue()));
    g_main_loop_quit(loop);
  });
  g_main_loop_run(loop);

  const GLibQueue queue(g_main_loop_get_context(loop));
  request.send(queue, [loop](const DataResponse& response) {
    std::printf("completion queue: status %d\n", static_cast<int>(response.status.rawValue()));
    g_main_loop_quit(loop);
  });
  g_main_loop_run(loop);

  g_main_loop_unref(loop);
}
