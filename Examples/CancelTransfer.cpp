// Cancels a download that has become too long.
//
//   example_CancelTransfer URL

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct GetArchive : DownloadRequestable<GetArchive>, HTTPRequestCancelable<GetArchive> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int argc, char** argv) {
  constexpr std::int64_t enough = 1'000'000;
  const GetArchive request{.url = URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/1000000000000")};

  const auto download = request.send().during(DispatchQueue::global(), [request](const HTTPProgress& progress) {
    if (progress.completedBytes() > enough) request.cancel();
  });

  const auto result = download.result();
  std::printf("%s\n", result ? "it was short" : result.error()->message().c_str());
}
