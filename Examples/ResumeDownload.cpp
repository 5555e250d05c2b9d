// Downloads a file to a place of your choice, checks its digest, and goes on where a broken connection left it.
//
//   example_ResumeDownload URL [SHA-256]

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <filesystem>

using namespace corvane;

struct GetManual : DownloadRequestable<GetManual>, HTTPRetryAttempting<GetManual> {
  URL url;
  HTTPDownloadDestination destination{.path = "manual.pdf", .resumes = true};
  std::optional<SHA256Digest> expectedDigest;

  static constexpr double retryInterval = 0.1;
  static constexpr std::int64_t retryLimit = 5;
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int argc, char** argv) try {
  GetManual request{.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080/files/manual.pdf?cut=400000"};
  if (argc > 2) request.expectedDigest = argv[2];

  const auto result = request.sendAttemptingRetry().get();
  for (const auto& failure : result.failedResponses()) std::printf("%s\n", failure.result.error()->message().c_str());
  const auto& last = result.lastResponse()->result;
  if (const Error* error = last.error()) throw *error;
  const std::filesystem::path file = last.url()->fileSystemPath();
  std::printf("%s is here, %ju bytes\n", file.filename().c_str(), std::filesystem::file_size(file));
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
