// Sends a file in a form as RFC 7578 lays it out, for servers that read no other: the program writes the form itself.
//
//   example_StandardForm URL FILE

#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/FileManager.hpp>
#include <cstdio>

using namespace corvane;

Data standardForm(const std::string& name, const URL& file, const std::string& boundary) {
  Data form;
  form.append("--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
              file.lastPathComponent() + "\"\r\nContent-Type: " + velisand::mimeType(file) + "\r\n\r\n");
  form.append(platform::FileManager::contents(file.fileSystemPath()).span());
  form.append("\r\n--" + boundary + "--\r\n");
  return form;
}

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  const Data form = standardForm("visits", URL::file(argv[2]), boundaryText());
  const DataUploadRequest upload(URL(argv[1]), form,
                                 {.contentType = HTTPMediaType("multipart/form-data; boundary=" + boundaryText())});
  std::printf("%s", upload.send().get().body.text().c_str());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
