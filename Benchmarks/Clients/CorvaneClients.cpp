#include <algorithm>
#include <future>
#include <stdexcept>

#include "Clients/Client.hpp"
#include "Corvane/Corvane.hpp"
#include "Platform/Foundation/Locale.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace bench {
namespace {

/// The library must send what the others send, or it would be measured with other requests.
void requireSameFields(const corvane::DataGetRequest& request) {
  const corvane::HTTPHeaderFields fields = request.urlRequest().allHTTPHeaderFields;
  for (const RequestField& field : requestFields) {
    if (fields.value(field.name) != field.value) {
      throw std::runtime_error(std::string("The library sends another ") + field.name + " than the other clients");
    }
  }
}

/// Servers of files say when these were modified, so that the cache would serve what is to be sent.
corvane::DataGetRequest requestFor(const Task& task) {
  corvane::HTTPClientConfiguration::setDefault({.cache = corvane::CacheConfiguration::off()});
  platform::Locale::setPreferredLanguages(std::vector<std::string>{"en-US"});
  if (task.isSecure()) {
    corvane::Corvane::addTrustedCertificate(corvane::URL::file(task.certificateFolder + "/anchor.der"));
  }
  corvane::DataGetRequest request{corvane::URL(task.url())};
  requireSameFields(request);
  return request;
}

void verify(const corvane::Data& body, const Task& task) {
  if (body.count() != task.bodyBytes) throw std::runtime_error("The response is not the expected one");
}

void verifyVersion(const corvane::DataResponse& response, const Task& task) {
  const auto& http = dynamic_cast<const platform::HTTPURLResponse&>(*response.urlResponse);
  if ((http.httpVersion() == "HTTP/2") != (task.wire == Wire::http2)) {
    throw std::runtime_error("The response came over " + http.httpVersion());
  }
}

/// A completion on a serial queue starts the next exchange.
class CallbackClient final : public Client {
 public:
  explicit CallbackClient(const Task& task) : task_(task), request_(requestFor(task)) {}

  void run(int count) override {
    toStart_ = count;
    toFinish_ = count;
    finished_ = std::promise<void>();
    queue_.async([this] {
      for (int index = std::min(toStart_, task_.concurrency); index > 0; --index) start();
    });
    finished_.get_future().get();
  }

 private:
  void start() {
    --toStart_;
    request_.send(queue_, [this](const corvane::DataResponse& response) { finish(response); });
  }

  void finish(const corvane::DataResponse& response) {
    if (isOver_) return;
    const corvane::DataResult& result = response.result;
    try {
      if (result.error()) result.error()->raise();
      if (!result.body()) throw std::runtime_error("The response has no body");
      verify(*result.body(), task_);
      verifyVersion(response, task_);
    } catch (...) {
      isOver_ = true;
      return finished_.set_exception(std::current_exception());
    }
    if (--toFinish_ == 0) return finished_.set_value();
    if (toStart_ > 0) start();
  }

  const Task task_;
  const corvane::DataGetRequest request_;
  const corvane::DispatchQueue queue_{"org.corvane.bench"};
  /// Used on the queue only.
  int toStart_ = 0;
  int toFinish_ = 0;
  bool isOver_ = false;
  std::promise<void> finished_;
};

/// Waits for each future.
class BlockingClient final : public Client {
 public:
  explicit BlockingClient(const Task& task) : task_(task), request_(requestFor(task)) {}

  void run(int count) override {
    for (int done = 0; done < count; ++done) verify(request_.send().get().body, task_);
  }

 private:
  const Task task_;
  const corvane::DataGetRequest request_;
};

}  // namespace

std::unique_ptr<Client> makeCallbackClient(const Task& task) { return std::make_unique<CallbackClient>(task); }

std::unique_ptr<Client> makeBlockingClient(const Task& task) { return std::make_unique<BlockingClient>(task); }

std::unique_ptr<Client> makeCachedClient(const Task& task) {
  Task fresh = task;
  fresh.path = "/fresh";
  auto client = std::make_unique<BlockingClient>(fresh);
  corvane::HTTPClientConfiguration::setDefault({});
  return client;
}

}  // namespace bench
