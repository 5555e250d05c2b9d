#include <curl/curl.h>
#include <sys/socket.h>

#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include "Clients/ResponseReader.hpp"
#include "Corvane/Corvane.hpp"
#include "Harness/Descriptor.hpp"
#include "Transfers/Transfer.hpp"

namespace bench {
namespace {

void requireWhole(std::uint64_t bytes) {
  if (bytes != transferBytes) throw std::runtime_error("The stream is not complete");
}

/// What has arrived; the sum is kept, so that nobody leaves it out.
struct Received {
  std::uint64_t bytes = 0;
  std::uint64_t sum = 0;

  void add(const void* piece, std::size_t count) {
    bytes += count;
    sum += sumOf(piece, count);
  }
};

class CurlStreamer final : public Mover {
 public:
  explicit CurlStreamer(const TransferTask& task) : url_(task.url()), easy_(curl_easy_init()) {
    curl_easy_setopt(easy_, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &CurlStreamer::write);
    curl_easy_setopt(easy_, CURLOPT_WRITEDATA, &received_);
  }
  ~CurlStreamer() override { curl_easy_cleanup(easy_); }

  std::filesystem::path move() override {
    received_ = {};
    if (curl_easy_perform(easy_) != CURLE_OK) throw std::runtime_error("libcurl failed");
    requireWhole(received_.bytes);
    return {};
  }

 private:
  static std::size_t write(char* piece, std::size_t, std::size_t count, void* received) {
    static_cast<Received*>(received)->add(piece, count);
    return count;
  }

  const std::string url_;
  CURL* const easy_;
  Received received_;
};

/// Blocking calls with room for 64 KiB: what the server allows.
class SocketStreamer final : public Mover {
 public:
  explicit SocketStreamer(const TransferTask& task)
      : request_(requestText({.port = task.port, .path = "/large"})), socket_(connectToLoopback(task.port)) {}

  std::filesystem::path move() override {
    checked(::send(socket_.number(), request_.data(), request_.size(), MSG_NOSIGNAL), "send");
    Received received;
    ResponseReader reader;
    for (bool complete = false; !complete;) {
      const ssize_t count = checked(::recv(socket_.number(), room_.data(), room_.size(), 0), "recv");
      if (count == 0) throw std::runtime_error("The connection was closed");
      received.add(room_.data(), static_cast<std::size_t>(count));
      complete = reader.take(room_.data(), static_cast<std::size_t>(count), transferBytes);
    }
    return {};
  }

 private:
  const std::string request_;
  const Descriptor socket_;
  std::vector<char> room_ = std::vector<char>(std::size_t{64} * 1024);
};

class CorvaneStreamer final : public Mover {
 public:
  explicit CorvaneStreamer(const TransferTask& task) : request_(corvane::URL(task.url())) {}

  std::filesystem::path move() override {
    Received received;
    std::promise<corvane::HTTPStreamResponse> end;
    request_.stream(
        queue_, [&](const corvane::Data& piece) { received.add(piece.bytes(), piece.count()); },
        [&](corvane::HTTPStreamResponse response) { end.set_value(std::move(response)); });
    const corvane::HTTPStreamResponse response = end.get_future().get();
    if (response.result.error()) response.result.error()->raise();
    requireWhole(received.bytes);
    return {};
  }

 private:
  const corvane::StreamGetRequest request_;
  const corvane::DispatchQueue queue_{"org.corvane.bench"};
};

class AskingCorvaneStreamer final : public Mover {
 public:
  explicit AskingCorvaneStreamer(const TransferTask& task) : request_(corvane::URL(task.url())) {}

  std::filesystem::path move() override {
    Received received;
    auto stream = request_.stream();
    while (const auto piece = stream.next().get()) received.add(piece->bytes(), piece->count());
    requireWhole(received.bytes);
    return {};
  }

 private:
  const corvane::StreamGetRequest request_;
};

}  // namespace

std::unique_ptr<Mover> makeCurlStreamer(const TransferTask& task) { return std::make_unique<CurlStreamer>(task); }

std::unique_ptr<Mover> makeSocketStreamer(const TransferTask& task) { return std::make_unique<SocketStreamer>(task); }

std::unique_ptr<Mover> makeCorvaneStreamer(const TransferTask& task) { return std::make_unique<CorvaneStreamer>(task); }

std::unique_ptr<Mover> makeAskingCorvaneStreamer(const TransferTask& task) {
  return std::make_unique<AskingCorvaneStreamer>(task);
}

}  // namespace bench
