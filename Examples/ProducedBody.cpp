// Sends bodies that are made while they are sent: rows of a table, a compressed file, and what a pipe gives.
//
//   example_ProducedBody URL FILE

#include <unistd.h>

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <memory>

using namespace corvane;

/// Makes a body of lines, as many as there are rows, and again when it has to be sent again.
HTTPBodyProducer table(int rows) {
  const auto row = std::make_shared<int>(0);
  return HTTPBodyProducer(
      [=]() -> std::optional<Data> {
        if (*row == rows) return std::nullopt;  // the end
        ++*row;
        return Data("row " + std::to_string(*row) + "\n");
      },
      {.rewind = [=] { *row = 0; }});
}

struct SendTable : DataPostRequestable<SendTable, HTTPBodyProducer> {
  int rows = 0;
  URL url;
  HTTPMediaType contentType = "text/csv";
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPBodyProducer body() const { return table(rows); }
};

struct SendLog : UploadRequestable<SendLog, DataResponse, HTTPBodyProducer> {
  URL file;
  URL url;
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPBodyProducer body() const { return HTTPBodyProducer::ofFile(file); }
};

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  const URL url(argv[1]);

  const SendTable request{.rows = 3, .url = url};
  std::printf("%s", request.send().get().body.text().c_str());

  const SendLog upload{.file = URL::file(argv[2]), .url = url};
  upload.send().get();

  std::FILE* const command = ::popen("echo said by a command", "r");
  const ProducedUploadRequest said(url, HTTPBodyProducer::ofDescriptor(::dup(::fileno(command))));
  std::printf("%s", said.send().get().body.text().c_str());
  ::pclose(command);
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
