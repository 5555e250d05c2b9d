// corvane_soak [--divide N]
//
// Sends very many requests to a server of our own, one after the other, and fails when memory or descriptors grow with
// their number: a million on kept connections, 100,000 with a new connection each, 20,000 with a new TLS connection
// each; with --divide an Nth of them.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "Harness/Deployment.hpp"

namespace {

struct Footprint {
  double mebibytes = 0;
  long descriptors = 0;

  static Footprint now() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    if (!(statm >> pages >> resident)) throw std::runtime_error("the system does not tell the size of this process");
    const auto entries = std::filesystem::directory_iterator("/proc/self/fd");
    return {.mebibytes = static_cast<double>(resident * ::sysconf(_SC_PAGESIZE)) / (1 << 20),
            .descriptors = std::distance(begin(entries), end(entries))};
  }
};

struct Soak {
  const char* title;
  std::string url;
  long count;
};

/// What may come and go by chance: pages that the allocator keeps, an idle connection, a worker's descriptor.
constexpr double allowedMebibytes = 2;
constexpr long allowedDescriptors = 4;

/// After a tenth, everything that is made once is there. False when there is more at the end.
bool run(const Soak& soak) {
  const corvane::DataGetRequest request{corvane::URL(soak.url)};
  const auto start = std::chrono::steady_clock::now();
  Footprint afterTenth;
  for (long done = 1; done <= soak.count; ++done) {
    if (request.send().get().body.count() != 100) throw std::runtime_error("The response is not the expected one");
    if (done % (soak.count / 10) != 0) continue;
    const Footprint footprint = Footprint::now();
    if (done == soak.count / 10) afterTenth = footprint;
    std::printf("%-36s %9ld requests %8.2f MiB %4ld descriptors\n", soak.title, done, footprint.mebibytes,
                footprint.descriptors);
    std::fflush(stdout);
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  const Footprint last = Footprint::now();
  std::printf("%-36s %.1f s, %+.2f MiB, %+ld descriptors since the first tenth\n", soak.title, elapsed.count(),
              last.mebibytes - afterTenth.mebibytes, last.descriptors - afterTenth.descriptors);
  return last.mebibytes - afterTenth.mebibytes <= allowedMebibytes &&
         last.descriptors - afterTenth.descriptors <= allowedDescriptors;
}

long divisorFrom(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return 1;
  const long divisor = arguments.size() == 2 && arguments[0] == "--divide" ? std::atol(arguments[1].c_str()) : 0;
  if (divisor < 1 || divisor > 2000) throw std::invalid_argument("usage: corvane_soak [--divide N], N from 1 to 2000");
  return divisor;
}

bool runAll(long divisor) {
  const bench::TemporaryFolder folder;
  bench::makeCertificates(folder.path());
  const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "corvane_bench_server";
  const bench::RunningServer server = bench::startPlainServer(program, folder.path(), -1);
  corvane::Corvane::addTrustedCertificate(corvane::URL::file((folder.path() / "anchor.der").string()));
  const std::string plain = "http://127.0.0.1:" + std::to_string(server.port(bench::Wire::plain));
  const std::string secure = "https://127.0.0.1:" + std::to_string(server.port(bench::Wire::tls));
  bool isFlat = true;
  for (const Soak& soak : {Soak{"kept connection", plain + "/small", 1'000'000 / divisor},
                           Soak{"new connection each", plain + "/close", 100'000 / divisor},
                           Soak{"new TLS connection each", secure + "/close", 20'000 / divisor}}) {
    isFlat = run(soak) && isFlat;
  }
  return isFlat;
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  try {
    if (runAll(divisorFrom({argumentValues + 1, argumentValues + argumentCount}))) return EXIT_SUCCESS;
    std::fputs("corvane_soak: memory or descriptors grow with the number of requests\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "corvane_soak: %s\n", error.what());
  }
  return EXIT_FAILURE;
}
