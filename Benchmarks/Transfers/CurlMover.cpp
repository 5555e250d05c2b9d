#include <curl/curl.h>

#include <cstdio>
#include <stdexcept>

#include "Transfers/Transfer.hpp"

namespace bench {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File opened(const std::filesystem::path& path, const char* mode) {
  File file(std::fopen(path.c_str(), mode));
  if (!file) throw std::system_error(errno, std::generic_category(), path.string());
  return file;
}

/// What libcurl's manual shows for a file: its own callbacks, which are `fwrite` and `fread`.
class CurlMover final : public Mover {
 public:
  explicit CurlMover(const TransferTask& task) : task_(task), easy_(curl_easy_init()) {
    set(CURLOPT_URL, task_.url().c_str());
    set(CURLOPT_NOSIGNAL, 1L);
  }
  ~CurlMover() override { curl_easy_cleanup(easy_); }

  std::filesystem::path move() override {
    return task_.direction == Direction::download ? download() : (upload(), std::filesystem::path());
  }

 private:
  template <class Value>
  void set(CURLoption option, Value value) {
    require(curl_easy_setopt(easy_, option, value));
  }

  static void require(CURLcode code) {
    if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
  }

  std::filesystem::path download() {
    const std::filesystem::path path = task_.folder / "libcurl-download";
    File file = opened(path, "wb");
    set(CURLOPT_WRITEDATA, file.get());
    perform();
    if (std::fclose(file.release()) != 0) throw std::runtime_error("The download cannot be closed");
    return path;
  }

  void upload() {
    const File file = opened(task_.source, "rb");
    const File response = opened("/dev/null", "wb");
    set(CURLOPT_UPLOAD, 1L);
    set(CURLOPT_READDATA, file.get());
    set(CURLOPT_WRITEDATA, response.get());
    set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(transferBytes));
    perform();
  }

  void perform() {
    require(curl_easy_perform(easy_));
    long status = 0;
    require(curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status));
    if (status != 200) throw std::runtime_error("The response is not the expected one");
  }

  const TransferTask task_;
  CURL* const easy_;
};

}  // namespace

std::unique_ptr<Mover> makeCurlMover(const TransferTask& task) { return std::make_unique<CurlMover>(task); }

}  // namespace bench
