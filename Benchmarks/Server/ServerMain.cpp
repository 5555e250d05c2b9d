// corvane_bench_server CERTIFICATE.pem KEY.pem CORE
//
// Prints its plain port, its TLS port, and that for resumed sessions; serves until its standard input is closed.

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "Harness/Process.hpp"
#include "Server/PlainServer.hpp"

int main(int argumentCount, char** arguments) {
  if (argumentCount != 4) {
    std::fputs("usage: corvane_bench_server CERTIFICATE.pem KEY.pem CORE\n", stderr);
    return 2;
  }
  try {
    bench::stayOnCore(std::atoi(arguments[3]));
    bench::allowManyDescriptors();
    bench::PlainServer server(arguments[1], arguments[2]);
    std::printf("%d %d %d\n", server.plainPort(), server.securePort(), server.resumingPort());
    std::fflush(stdout);
    server.run(STDIN_FILENO);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_bench_server: %s\n", error.what());
    return 1;
  }
}
