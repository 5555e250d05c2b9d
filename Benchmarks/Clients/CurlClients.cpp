#include <curl/curl.h>

#include <algorithm>
#include <stdexcept>

#include "Clients/Client.hpp"
#include "Clients/CurlHandle.hpp"

namespace bench {
namespace {

class EasyClient final : public Client {
 public:
  explicit EasyClient(const Task& task) : handle_(task) {}

  void run(int count) override {
    for (int done = 0; done < count; ++done) handle_.verify(curl_easy_perform(handle_.easy()));
  }

 private:
  CurlHandle handle_;
};

/// `curl_multi_perform` and `curl_multi_poll`, with a handle for each exchange under way.
class MultiClient final : public Client {
 public:
  explicit MultiClient(const Task& task) : multi_(curl_multi_init()) {
    for (int index = 0; index < task.concurrency; ++index) handles_.push_back(std::make_unique<CurlHandle>(task));
  }
  ~MultiClient() override {
    handles_.clear();
    curl_multi_cleanup(multi_);
  }

  void run(int count) override {
    int started = std::min(count, static_cast<int>(handles_.size()));
    for (int index = 0; index < started; ++index) add(handles_[static_cast<std::size_t>(index)]->easy());
    for (int done = 0; done < count;) {
      int running = 0;
      verify(curl_multi_perform(multi_, &running));
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        // The message is gone when its handle is removed.
        CURL* const easy = message->easy_handle;
        finish(easy, message->data.result);
        ++done;
        if (started == count) continue;
        ++started;
        add(easy);
      }
      if (done < count) verify(curl_multi_poll(multi_, nullptr, 0, 1000, nullptr));
    }
  }

 private:
  static void verify(CURLMcode code) {
    if (code != CURLM_OK) throw std::runtime_error(curl_multi_strerror(code));
  }

  void add(CURL* easy) { verify(curl_multi_add_handle(multi_, easy)); }

  void finish(CURL* easy, CURLcode code) {
    CurlHandle* handle = nullptr;
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, &handle);
    verify(curl_multi_remove_handle(multi_, easy));
    handle->verify(code);
  }

  CURLM* const multi_;
  std::vector<std::unique_ptr<CurlHandle>> handles_;
};

}  // namespace

std::unique_ptr<Client> makeEasyClient(const Task& task) { return std::make_unique<EasyClient>(task); }

std::unique_ptr<Client> makeMultiClient(const Task& task) { return std::make_unique<MultiClient>(task); }

}  // namespace bench
