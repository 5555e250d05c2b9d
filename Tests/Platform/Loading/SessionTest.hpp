#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace platform {

/// What a task's completion was given.
struct Loaded {
  std::optional<Data> data;
  std::shared_ptr<const URLResponse> response;
  std::optional<Error> error;

  int status() const {
    const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
    return http ? http->statusCode() : 0;
  }
  const HTTPURLResponse& http() const { return dynamic_cast<const HTTPURLResponse&>(*response); }
  std::string body() const { return data ? data->text() : "<no data>"; }
  /// 0 when there is no error.
  std::int64_t code() const { return error ? error->code() : 0; }
  std::string message() const { return error ? error->message() : ""; }
};

/// What a download's completion was given.
struct Downloaded {
  std::optional<TemporaryFile> file;
  std::shared_ptr<const URLResponse> response;
  std::optional<Error> error;

  /// 0 when there is no error.
  std::int64_t code() const { return error ? error->code() : 0; }
  std::string message() const { return error ? error->message() : ""; }
  const HTTPURLResponse& http() const { return dynamic_cast<const HTTPURLResponse&>(*response); }
};

/// A task under way whose completion, which makes an `Outcome`, can be waited for.
template <class Outcome>
class PendingTask {
 public:
  /// `make` makes the task with the completion that it is given.
  template <class Make>
  explicit PendingTask(Make make) {
    task_ = make([state = state_](auto body, auto response, auto error) {
      ++state->completions;
      if (state->completions == 1) state->promise.set_value({std::move(body), std::move(response), std::move(error)});
    });
  }
  PendingTask& resume() {
    task_->resume();
    return *this;
  }
  void cancel() { task_->cancel(); }
  URLSessionTask& task() { return *task_; }
  /// Fails the test, and gives an empty result, when nothing comes in 20 s.
  Outcome wait() {
    if (future_.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
      ADD_FAILURE() << "no completion in 20 s for " << task_->originalRequest().url.absoluteString();
      return {};
    }
    return future_.get();
  }
  bool isDone() const { return state_->completions > 0; }
  int completions() const { return state_->completions; }

 private:
  struct State {
    std::promise<Outcome> promise;
    std::atomic<int> completions = 0;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
  std::future<Outcome> future_ = state_->promise.get_future();
  std::shared_ptr<URLSessionTask> task_;
};

class Load : public PendingTask<Loaded> {
 public:
  Load(const std::shared_ptr<URLSession>& session, URLRequest request)
      : PendingTask([&](auto completion) { return session->dataTask(std::move(request), std::move(completion)); }) {}
};

/// Of bytes, or of the file at a URL.
class Upload : public PendingTask<Loaded> {
 public:
  template <class Body>
  Upload(const std::shared_ptr<URLSession>& session, URLRequest request, const Body& body)
      : PendingTask(
            [&](auto completion) { return session->uploadTask(std::move(request), body, std::move(completion)); }) {}
};

class Download : public PendingTask<Downloaded> {
 public:
  Download(const std::shared_ptr<URLSession>& session, URLRequest request)
      : PendingTask([&](auto completion) { return session->downloadTask(std::move(request), std::move(completion)); }) {
  }
  Download(const std::shared_ptr<URLSession>& session, URLRequest request, DownloadOptions options)
      : PendingTask([&](auto completion) {
          return session->downloadTask(std::move(request), std::move(options), std::move(completion));
        }) {}
};

/// A server, and a session without a delegate.
class SessionTest : public ::testing::Test {
 protected:
  Loaded load(URLRequest request) { return Load(session, std::move(request)).resume().wait(); }
  Loaded load(std::string_view target) { return load(URLRequest(server.url(target))); }
  Loaded loadMock(corvane::testkit::MockResponse scripted) {
    server.enqueue(std::move(scripted));
    return load("/");
  }
  static URLRequest request(std::string url, std::string method, std::optional<Data> body = std::nullopt) {
    URLRequest made{URL(url)};
    made.httpMethod = std::move(method);
    made.httpBody = std::move(body);
    return made;
  }
  static std::shared_ptr<URLSession> makeSession(URLSessionConfiguration configuration = {},
                                                 std::shared_ptr<URLSessionDelegate> delegate = nullptr) {
    return URLSession::make(std::move(configuration), std::move(delegate), DispatchQueue("test.delegate"));
  }

  corvane::testkit::TestServer server;
  std::shared_ptr<URLSession> session = makeSession();
};

}  // namespace platform
