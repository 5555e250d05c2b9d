// Downloads a file, shows how far it has come, and moves it to where it is to stay.
//
//   example_DownloadFile URL

#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/FileManager.hpp>
#include <cstdio>
#include <filesystem>

using namespace corvane;

int main(int argc, char** argv) try {
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/files/manual.pdf");

  const auto download = DownloadGetRequest(url).send().during(DispatchQueue::global(), [](HTTPProgress progress) {
    std::fprintf(stderr, "\r%3.0f %%", *progress.percentCompleted() * 100);
  });
  const std::filesystem::path file = download.get().body.fileSystemPath();
  std::fprintf(stderr, "\n");

  const std::filesystem::path place = file.filename();
  platform::FileManager::move(file.native(), place.native());  // never over another file
  std::filesystem::remove(file.parent_path());
  std::printf("%s is here, %ju bytes\n", place.c_str(), std::filesystem::file_size(place));
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
