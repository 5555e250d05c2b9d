#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "Corvane/DebugOutput/HTTPRedaction.hpp"
#include "CorvaneTesting/ExchangeRecording.hpp"
#include "CorvaneTesting/MockRoute.hpp"
#include "CorvaneTesting/NetworkResponse.hpp"
#include "CorvaneTesting/SentRequest.hpp"

namespace corvane::testkit {

namespace detail {
class MockNetworkCore;
}

/// How a recording is replayed.
///
///     network.replay(recording, {.comparesBodies = true});
struct ReplayOptions {
  /// Whether a request must have the recorded body, too. Only bodies in memory can be compared, as they are sent, in
  /// their content coding. Default: false.
  bool comparesBodies = false;
};

/// Responds in place of the network while it exists, to requests of any type, which stay as they are.
///
/// ```
/// MockNetwork network;
/// network.on<GetUser>().respond(NetworkResponse(503), NetworkResponse().json(ada));
/// ... code that sends a GetUser, and tries again ...
/// EXPECT_EQ(network.requests().size(), 2);
/// ```
///
/// It replaces connections and servers, and nothing else: cookies, redirects, content codings, streams, downloads,
/// uploads, progress, retries, time-outs and debug output work as with a server. Routes see single exchanges.
///
/// The newest route that is for a request takes it. A request that none takes goes to the network; it fails with an
/// `HTTPNetworkForbiddenError`, which names it, if the network was forbidden when it was sent (`ForbiddenNetwork`).
/// Mocks by type (`HTTPMockable`) respond before.
///
/// It is for requests that are sent, on any thread, while it exists. Several may exist at a time, in any order: the
/// newest is asked first, so tests that run in parallel need routes that take no requests of each other. When it ends,
/// responses that are still due become errors ("Corvane.MockNetwork"), so that each send has its one outcome, and no
/// function of the test is called any more. The same error ends a request that was sent while it existed and asks it
/// later, for example for the next hop of a redirect, if a route was for its type and URL: it does not reach the
/// network. All members may be called on any thread.
class MockNetwork {
 public:
  /// The unit of every limit.
  using Milliseconds = std::chrono::milliseconds;
  /// The default limit of a wait: ten seconds.
  static constexpr Milliseconds defaultWait{10'000};

  /// Responds from now on.
  MockNetwork();
  /// Waits for the function of the test that runs, unless it is called inside of it.
  ~MockNetwork();
  MockNetwork(const MockNetwork&) = delete;
  MockNetwork& operator=(const MockNetwork&) = delete;

  /// A route for requests whose URL fits the pattern, optionally after a method: "https://users.example.com/users/7",
  /// "POST https://users.example.com/users", "GET *". A "*" stands for any characters. A pattern that begins with "/"
  /// is for all servers; one without "?" is for all queries. User, password and fragment are left out.
  MockRoute on(std::string_view pattern) { return route(nullptr, pattern); }
  /// A route for requests of this type. The type is that of the value that was sent: where `send` of a type sends
  /// another request, it is that one's.
  template <class Request>
  MockRoute on(std::string_view pattern = "*") {
    return route(&typeid(Request), pattern);
  }
  /// A route for requests for which this is true.
  MockRoute on(MockRoute::Predicate predicate) { return route(nullptr, "*").when(std::move(predicate)); }
  /// A route for all requests.
  MockRoute onAll() { return route(nullptr, "*"); }

  /// The requests that it responded to, in order. A request is there before its response is.
  std::vector<SentRequest> requests() const;
  /// The requests that no route took, in order.
  std::vector<SentRequest> unmatchedRequests() const;
  /// Waits until it has responded, or is about to, to at least this number of requests in total. False when the limit
  /// passed first.
  [[nodiscard]] bool waitForRequests(std::size_t count, Milliseconds limit = defaultWait) const;

  /// From now on keeps the exchanges that go to the network, without what is to be redacted. A second call begins anew.
  void record(HTTPRedaction redaction = HTTPRedaction::secrets());
  /// The exchanges that were recorded so far and are over; cancelled ones are left out.
  ExchangeRecording recording() const;
  /// Adds a route that responds as in the recording: each exchange once, in order, to a request with its method and
  /// URL. Redacted header fields of responses are left out.
  void replay(ExchangeRecording recording, ReplayOptions options = {});

 private:
  MockRoute route(const std::type_info* type, std::string_view pattern);

  const std::shared_ptr<detail::MockNetworkCore> core_;
};

}  // namespace corvane::testkit
