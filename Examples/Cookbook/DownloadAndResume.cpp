#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <filesystem>

using namespace corvane;

struct GetManual : DownloadRequestable<GetManual>, HTTPRetryAttempting<GetManual> {
  URL url;
  HTTPDownloadDestination destination{.path = "manual.pdf", .overwrites = true, .resumes = true};
  static constexpr double retryInterval = 0.1;
  static constexpr std::int64_t retryLimit = 5;
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int, char** argv) {
  // The server closes the connection after 400,000 bytes, each time.
  const GetManual request{.url = argv[1] + std::string("files/manual.pdf?cut=400000")};
  const auto result = request.sendAttemptingRetry().get();
  std::printf("%zu interruptions, %ju bytes\n", result.failedResponses().size(),
              std::filesystem::file_size("manual.pdf"));
}
