// Describes the call of a web service that takes a form, with a value, a JSON model and a file.
//
//   example_MultipartForm URL FILE

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct Period {
  std::string from;
  std::string to;
};

struct SendReport : MultipartUploadRequestable<SendReport, DataResponse> {
  std::string title;
  Period period;
  URL file;
  URL url;

  HTTPHeaders sharedHeaders() const { return {}; }
  std::vector<MultipartFormSection> body() const {
    return {{"title", title}, {"period", period, HTTPMediaType::json}, {"visits", file}};
  }
};

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  const SendReport report{.title = "Visits",
                          .period = {.from = "2026-11-16", .to = "2026-11-18"},
                          .file = URL::file(argv[2]),
                          .url = URL(argv[1])};
  std::printf("%s", report.send().get().body.text().c_str());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
