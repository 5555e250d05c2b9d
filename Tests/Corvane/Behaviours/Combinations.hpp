#pragma once

#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"

namespace corvane::combinations {

enum class Kind { data, download, upload };
enum class Mocking { none, mock, test };

/// What all requests of these tests go by.
struct World {
  inline static std::string target;
  /// How many of the next responses, from any source, are failures.
  inline static std::atomic<int> failures = 0;
  inline static std::atomic<int> mockResponses = 0;
  inline static std::atomic<int> testResponses = 0;
  inline static HTTPRetryPolicy policy;

  static void reset(std::string url) {
    target = std::move(url);
    failures = 0;
    mockResponses = 0;
    testResponses = 0;
    policy = {};
  }
  static bool nextFails() { return failures-- > 0; }
};

/// How a response is noted: who gave it, or "failed", or "cancelled".
template <class Response>
std::string noteOf(const Response& response) {
  if (const auto* error = response.result.error()) {
    const auto* reason = error->template as<HTTPResponseError>();
    return reason && *reason == HTTPResponseError::taskCancelled() ? "cancelled" : "failed";
  }
  if constexpr (std::is_same_v<typename Response::Result::Body, std::string>) {
    return *response.result.body();
  } else {
    return response.result.body()->text();
  }
}

template <class Response>
std::string noteOf(const HTTPRetryResult<Response>& result) {
  using Case = typename HTTPRetryResult<Response>::Case;
  std::string text = result.which() == Case::noFailure ? "no failure:" : "failures:";
  for (const auto& failed : result.failedResponses()) text += " " + noteOf(failed);
  if (const auto* last = result.successfulResponse()) text += " " + noteOf(*last);
  return text;
}

using Notes = testkit::Expectation<std::string>;
using Cancel = std::function<void()>;

/// A request type that adopts some behaviours, and what can be done with it. What it cannot do is empty.
struct Combination {
  Kind kind;
  Mocking mocking;
  bool retries;
  bool polls;
  detail::SendRoute route;
  detail::SendRoute singleRoute;

  Cancel (*send)(const DispatchQueue&, Notes);
  Cancel (*sendAttemptingRetry)(const DispatchQueue&, Notes);
  /// Notes what the handler hears.
  void (*poll)(Notes);
  bool (*isPolling)();
  void (*stopPolling)();
};

void PrintTo(const Combination& combination, std::ostream* stream);

// A request type without a behaviour has another, empty base in its place. What a behaviour reads stands beside it,
// since nothing else may have it.
template <int>
struct Absent {};

template <class Self>
struct Upload : UploadRequestable<Self, DataResponse> {
  Data body = "body";
};
template <class Self, class Mock>
struct Mocked : Mock {
  static constexpr double mockResponseTime = 1;
  std::string mockResponseData() const {
    ++World::mockResponses;
    return "mock";
  }
  std::optional<Error> mockError() const {
    return World::nextFails() ? std::optional(Error("Combinations", 1, "failed")) : std::nullopt;
  }
};
template <class Self>
struct TestMocked : Mocked<Self, HTTPTestMockable<Self>> {
  std::string testResponseData() const {
    ++World::testResponses;
    return "test";
  }
};
template <class Self>
struct Retrying : HTTPRetryAttempting<Self> {
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 1;
  static HTTPRetryPolicy retryPolicy() { return World::policy; }
};
template <class Self>
struct Polling : HTTPPolling<Self> {
  static constexpr double pollingRate = 1e6;
};

template <class Self, Kind kind>
using KindBase = std::conditional_t<
    kind == Kind::data, DataGetRequestable<Self>,
    std::conditional_t<kind == Kind::download, DownloadRequestable<Self, std::string>, Upload<Self>>>;
template <class Self, Mocking mocking>
using MockBase = std::conditional_t<
    mocking == Mocking::none, Absent<0>,
    std::conditional_t<mocking == Mocking::mock, Mocked<Self, HTTPMockable<Self>>, TestMocked<Self>>>;

template <Kind kind, Mocking mocking, bool retries, bool polls>
struct Cell : KindBase<Cell<kind, mocking, retries, polls>, kind>,
              MockBase<Cell<kind, mocking, retries, polls>, mocking>,
              std::conditional_t<retries, Retrying<Cell<kind, mocking, retries, polls>>, Absent<1>>,
              std::conditional_t<polls, Polling<Cell<kind, mocking, retries, polls>>, Absent<2>>,
              HTTPRequestCancelable<Cell<kind, mocking, retries, polls>> {
  URL url() const { return World::target; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

template <Kind kind, Mocking mocking, bool retries, bool polls>
Combination combination() {
  using Request = Cell<kind, mocking, retries, polls>;
  using Response = typename Request::Response;
  Combination made{kind,
                   mocking,
                   retries,
                   polls,
                   detail::sendRoute<Request>(),
                   detail::singleRoute<Request>(),
                   [](const DispatchQueue& queue, Notes notes) -> Cancel {
                     const Request request;
                     request.send(queue, [notes](const Response& response) { notes(noteOf(response)); });
                     return [request] { request.cancel(); };
                   },
                   nullptr,
                   nullptr,
                   nullptr,
                   nullptr};
  if constexpr (retries) {
    made.sendAttemptingRetry = [](const DispatchQueue& queue, Notes notes) -> Cancel {
      const Request request;
      request.sendAttemptingRetry(queue, [notes](const HTTPRetryResult<Response>& result) { notes(noteOf(result)); });
      return [request] { request.cancel(); };
    };
  }
  if constexpr (polls) {
    made.poll = [](Notes notes) {
      Request::poll([notes](const Request&, const Response& response) { notes(noteOf(response)); });
    };
    made.isPolling = [] { return Request::isPolling(); };
    made.stopPolling = [] { Request::stopPolling(); };
  }
  return made;
}

template <Kind kind, Mocking mocking>
void addTo(std::vector<Combination>& all) {
  all.push_back(combination<kind, mocking, false, false>());
  all.push_back(combination<kind, mocking, true, false>());
  all.push_back(combination<kind, mocking, false, true>());
  all.push_back(combination<kind, mocking, true, true>());
}

template <Kind kind>
std::vector<Combination> combinationsOf() {
  std::vector<Combination> all;
  addTo<kind, Mocking::none>(all);
  addTo<kind, Mocking::mock>(all);
  addTo<kind, Mocking::test>(all);
  return all;
}

// Each in a source of its own: they are long to compile.
std::vector<Combination> combinationsOfData();
std::vector<Combination> combinationsOfDownloads();
std::vector<Combination> combinationsOfUploads();

}  // namespace corvane::combinations
