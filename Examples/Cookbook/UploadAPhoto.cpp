#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  const FileUploadRequest photo(argv[1] + std::string("post"), URL::file(argv[2]), {.method = HTTPMethod::post});
  double percent = 0;

  const auto upload = photo.send({.progress = [&](const HTTPProgress& progress) {
    percent = 100 * progress.percentCompleted().value_or(0);  // to be shown
  }});
  upload.get();
  DispatchQueue::main().runOnce();  // applications run it all the time
  std::printf("%.0f %% sent\n", percent);
}
