// Sends a file while it is read, and shows how far it has come.
//
//   example_UploadFile URL FILE

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  bool done = false;

  const FileUploadRequest upload(URL(argv[1]), URL::file(argv[2]), {.method = HTTPMethod::put});
  upload.send(
      [](HTTPProgress progress) {
        std::fprintf(stderr, "%lld of %lld bytes\n", static_cast<long long>(progress.completedBytes()),
                     static_cast<long long>(progress.totalBytes()));
      },
      [&done](const DataResponse& response) {
        const Error* error = response.result.error();
        std::printf("%s\n", error ? error->message().c_str() : response.data->text().c_str());
        done = true;
      });

  DispatchQueue::main().runUntil([&done] { return done; });
}
