#include <openssl/evp.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/ReceivedForm.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Steps.hpp"
#include "TestSupport/StandardRoutes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

using namespace corvane;
using corvane::testkit::generatedBytes;
using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::ReceivedSection;
using corvane::testkit::TemporaryDirectory;
using corvane::testkit::TestServer;

namespace {

constexpr std::size_t downloadSize = 50'000'000;

std::string sha256(const Data& bytes) {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  const bool isMade = context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1 &&
                      EVP_DigestUpdate(context.get(), bytes.bytes(), bytes.count()) == 1 &&
                      EVP_DigestFinal_ex(context.get(), digest, &size) == 1;
  if (!isMade) throw std::runtime_error("no digest could be made");
  std::string text;
  for (unsigned int index = 0; index < size; ++index) {
    char byte[3];
    std::snprintf(byte, sizeof byte, "%02x", digest[index]);
    text += byte;
  }
  return text;
}

/// Removes a downloaded file, and the directory that it came in.
void discard(const URL& file) {
  std::filesystem::remove_all(std::filesystem::path(file.fileSystemPath()).parent_path());
}

void playDownload(Stage& stage, TestServer& server) {
  stage.step("A download into a file, with progress, and a look at its digest", "download", [&] {
    server.handle("/archive", [](const ReceivedRequest&) {
      return MockResponse()
          .header("Content-Disposition", "attachment; filename=\"archive.bin\"")
          .header("X-SHA-256", sha256(Data(generatedBytes(downloadSize))))
          .generatedBody(downloadSize);
    });
    const std::string url = server.url("/archive");
    double last = 0;
    // show: download
    const DispatchQueue progressQueue("progress");
    auto download = DownloadGetRequest(url).send();
    download.during(progressQueue, [&last](HTTPProgress progress) { last = *progress.percentCompleted(); });
    const HTTPResponse<URL> response = download.get();
    progressQueue.sync([] {});  // until the last of it was told
    const URL& file = response.fileURL();
    // end
    const Data content = platform::FileManager::contents(file.fileSystemPath());
    const std::string announced = response.headers->value("X-SHA-256").value_or("-");
    stage.got("file", file.lastPathComponent() + ", " + std::to_string(content.count()) + " bytes");
    stage.got("progress", std::to_string(static_cast<int>(last * 100)) + " % in the end");
    stage.got("SHA-256", sha256(content));
    stage.check(sha256(content) == announced, "the digest that the server announced");
    stage.check(last == 1, "progress ends with the whole");
    server.takeRequest();
    discard(file);
  });
}

void playHostileName(Stage& stage, TestServer& server) {
  stage.step("A file name that means harm lands safely", "hostile", [&] {
    server.handle("/hostile", [](const ReceivedRequest&) {
      return MockResponse()
          .header("Content-Disposition", "attachment; filename=\"../../../root/.bashrc\"")
          .body("evil");
    });
    const std::string url = server.url("/hostile");
    // show: hostile
    const URL file = DownloadGetRequest(url).send().get().body;
    // end
    const std::filesystem::path path = file.fileSystemPath();
    const std::string directory = path.parent_path().filename();
    stage.got("suggested", "../../../root/.bashrc");
    stage.got("landed as", directory + "/" + path.filename().string());
    stage.check(path.filename() == "bashrc" && directory.starts_with("Corvane-"),
                "one safe name, alone in a directory");
    stage.check(path.parent_path().parent_path() == platform::FileManager::temporaryDirectory(),
                "inside the temporary directory");
    server.takeRequest();
    discard(file);
  });
}

void playUpload(Stage& stage, TestServer& server) {
  stage.step("A file, sent while it is read", "upload", [&] {
    const TemporaryDirectory directory;
    const std::string path = directory.write("visits.csv", "day,visits\nmonday,120\n");
    const std::string url = server.url("/post");
    // show: upload
    const FileUploadRequest upload(url, URL::file(path), {.method = HTTPMethod::put});
    const HTTPResponse<Data> response = upload.send().get();
    // end
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw", received.method + ", " + received.header("Content-Type").value_or("-") + ", " +
                                std::to_string(received.bodySize) + " bytes");
    stage.check(received.method == "PUT" && received.body == directory.read("visits.csv"), "the file's bytes");
    stage.check(received.header("Content-Type") == "text/csv", "the type of the extension");
    stage.check(response.body.view() == received.body, "the response comes as usual");
  });
}

std::string described(const ReceivedSection& section) {
  std::string text = section.name + ": ";
  if (section.fileName) text += "file " + *section.fileName + ", ";
  if (section.contentType) text += *section.contentType + ", ";
  return text + std::to_string(section.content.size()) + " bytes";
}

void playForm(Stage& stage, TestServer& server) {
  stage.step("A form with a file, read back by the server", "form", [&] {
    const TemporaryDirectory directory;
    const std::string path = directory.write("visits.csv", "day,visits\nmonday,120\n");
    const std::string url = server.url("/form");
    // show: form
    const MultipartUploadRequest upload(url, {{"title", "Visits"}, {"table", URL::file(path)}});
    const HTTPResponse<Data> response = upload.send().get();
    // end
    const auto sections = formSections(server.takeRequest());
    for (const ReceivedSection& section : sections) stage.got("section", described(section));
    stage.got("response", response.body.text());
    stage.check(sections.size() == 2 && sections[0].content == "Visits", "the value");
    stage.check(sections.size() == 2 && sections[1].fileName == "visits.csv" &&
                    sections[1].content == directory.read("visits.csv"),
                "the file, with its name");
  });
}

void playMissingFile(Stage& stage, TestServer& server) {
  stage.step("A file that is not there", "missingFile", [&] {
    const std::string url = server.url("/post");
    const int requests = server.requestCount();
    // show: missingFile
    const auto result = FileUploadRequest(url, URL::file("/nowhere/visits.csv")).send().result();
    // end
    stage.got("result", result ? "success" : result.error()->message());
    const auto* error = result ? nullptr : result.error()->as<CFNetworkErrors>();
    stage.check(error && error->rawValue() == -1100, "CFNetworkErrors -1100");
    stage.check(server.requestCount() == requests, "nothing was sent");
  });
}

}  // namespace

void playTransfers(Stage& stage) {
  TestServer server;
  installStandardRoutes(server);
  playDownload(stage, server);
  playHostileName(stage, server);
  playUpload(stage, server);
  playForm(stage, server);
  playMissingFile(stage, server);
}
