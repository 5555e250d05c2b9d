// The five tasks of FiveTasks.cpp with libcurl itself. JSON is somebody else's business there: the text is printed as
// far as the login.
//
//   example_FiveTasksCurl http://127.0.0.1:8080/

#include <curl/curl.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Headers = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

std::size_t append(char* bytes, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(bytes, size * count);
  return size * count;
}

Handle handleFor(const std::string& url, std::string* body) {
  Handle handle(curl_easy_init(), &curl_easy_cleanup);
  curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, append);
  curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, body);
  curl_easy_setopt(handle.get(), CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle.get(), CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
  return handle;
}

void perform(CURL* handle) {
  const CURLcode code = curl_easy_perform(handle);
  if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
}

// For the text between quotes after "login": a JSON library of your choice.
std::string loginIn(const std::string& json) {
  const std::size_t begin = json.find(": \"", json.find("\"login\"")) + 3;
  return json.substr(begin, json.find('"', begin) - begin);
}

std::string getUser(const std::string& server) {
  std::string body;
  perform(handleFor(server + "users/7", &body).get());
  return loginIn(body);
}

std::string addUser(const std::string& server, const std::string& json) {
  std::string body;
  const Handle handle = handleFor(server + "users", &body);
  const Headers headers(curl_slist_append(nullptr, "Content-Type: application/json"), &curl_slist_free_all);
  curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(json.size()));
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, json.data());
  perform(handle.get());
  return loginIn(body);
}

int showProgress(void*, curl_off_t total, curl_off_t completed, curl_off_t, curl_off_t) {
  if (total > 0)
    std::fprintf(stderr, "\r%3.0f %%", 100.0 * static_cast<double>(completed) / static_cast<double>(total));
  return 0;
}

void download(const std::string& server, const std::string& target) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(target.c_str(), "wb"), &std::fclose);
  if (!file) throw std::runtime_error("cannot write " + target);
  const Handle handle = handleFor(server + "bytes/300000", nullptr);
  curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, nullptr);  // fwrite
  curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, file.get());
  curl_easy_setopt(handle.get(), CURLOPT_XFERINFOFUNCTION, showProgress);
  curl_easy_setopt(handle.get(), CURLOPT_NOPROGRESS, 0L);
  perform(handle.get());
  if (std::fflush(file.get()) != 0) throw std::runtime_error("cannot write " + target);
}

int stopWhenUnwanted(void* isUnwanted, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return *static_cast<std::atomic<bool>*>(isUnwanted) ? 1 : 0;
}

void giveUp(const std::string& server) {
  std::string body;
  const Handle impatient = handleFor(server + "delay/5", &body);
  curl_easy_setopt(impatient.get(), CURLOPT_TIMEOUT_MS, 200L);  // of the whole; there is none for silence below 1 s
  if (curl_easy_perform(impatient.get()) == CURLE_OPERATION_TIMEDOUT) std::puts("timed out");

  std::atomic<bool> isUnwanted = false;
  const Handle unwanted = handleFor(server + "delay/5", &body);
  curl_easy_setopt(unwanted.get(), CURLOPT_XFERINFOFUNCTION, stopWhenUnwanted);
  curl_easy_setopt(unwanted.get(), CURLOPT_XFERINFODATA, &isUnwanted);
  curl_easy_setopt(unwanted.get(), CURLOPT_NOPROGRESS, 0L);
  CURLcode code = CURLE_OK;
  std::thread thread([&] { code = curl_easy_perform(unwanted.get()); });
  isUnwanted = true;  // seen when libcurl looks the next time, within a second
  thread.join();
  if (code == CURLE_ABORTED_BY_CALLBACK) std::puts("cancelled");
}

std::size_t bytesOfTwenty(const std::string& server) {
  const std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi(curl_multi_init(), &curl_multi_cleanup);
  curl_multi_setopt(multi.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, 8L);

  std::vector<std::string> bodies(20);
  std::vector<Handle> handles;
  for (std::size_t at = 0; at < bodies.size(); ++at) {
    handles.push_back(handleFor(server + "bytes/" + std::to_string(at + 1), &bodies[at]));
    curl_multi_add_handle(multi.get(), handles.back().get());
  }

  int running = 1;
  while (running > 0) {
    if (curl_multi_perform(multi.get(), &running) != CURLM_OK) throw std::runtime_error("curl_multi_perform");
    if (running > 0) curl_multi_poll(multi.get(), nullptr, 0, 1000, nullptr);
  }

  std::size_t bytes = 0;
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi.get(), &left)) {
    if (message->msg != CURLMSG_DONE || message->data.result != CURLE_OK) throw std::runtime_error("a request failed");
  }
  for (const std::string& body : bodies) bytes += body.size();
  for (const Handle& handle : handles) curl_multi_remove_handle(multi.get(), handle.get());
  return bytes;
}

int main(int argc, char** argv) try {
  const std::string server = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";
  curl_global_init(CURL_GLOBAL_DEFAULT);

  std::printf("%s\n", getUser(server).c_str());
  std::printf("%s\n", addUser(server, R"({"login": "grace"})").c_str());
  download(server, "file");
  std::printf("%ju bytes\n", std::filesystem::file_size("file"));
  giveUp(server);
  std::printf("%zu bytes\n", bytesOfTwenty(server));
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
