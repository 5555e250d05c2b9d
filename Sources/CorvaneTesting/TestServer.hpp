#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CorvaneTesting/ConnectionRecord.hpp"
#include "CorvaneTesting/MockResponse.hpp"
#include "CorvaneTesting/ReceivedRequest.hpp"
#include "CorvaneTesting/Tls.hpp"

namespace corvane::testkit {

/// The addresses and the behaviour of a server.
struct ServerOptions {
  /// Numeric addresses, all on the same port.
  std::vector<std::string> addresses = {"127.0.0.1"};
  /// Zero lets the system choose a free one.
  std::uint16_t port = 0;
  /// Absent: without TLS.
  std::optional<Tls> tls;
  /// Whether the server keeps records for `takeRequest`, `requests` and `connections`. Set it to false for a server
  /// that runs for long.
  bool keepsRequests = true;
};

/// A scriptable HTTP/1.1 server inside the test.
///
/// ```
/// TestServer server;
/// server.enqueue(MockResponse(200).body("hello"));
/// ... send a request to server.url("/greeting") ...
/// EXPECT_EQ(server.takeRequest().target, "/greeting");
/// ```
///
/// It listens from construction to destruction. The response to a request comes from the route of its path; without a
/// route, it is the next enqueued response; without one, it comes from the catch-all handler. A request without any of
/// these gets a 500 and is recorded as a failure; so is a malformed request. Failures that were not taken are reported
/// at destruction.
///
/// Every connection has its own thread; handlers run there, several at a time. All members may be called on any thread.
/// Waits end after `defaultWait` by default, so that a test fails if the event does not happen.
class TestServer {
 public:
  /// Returns the response to a request. Called on the thread of the connection, several at a time.
  using Handler = std::function<MockResponse(const ReceivedRequest&)>;
  /// The unit of every limit.
  using Milliseconds = std::chrono::milliseconds;
  /// The default limit of a wait: ten seconds.
  static constexpr Milliseconds defaultWait{10'000};

  /// A server without TLS, on 127.0.0.1, at a port that the system chooses.
  TestServer();
  /// The same over TLS.
  explicit TestServer(Tls tls);
  /// A server with these options. Throws `std::system_error` when it cannot listen on the port.
  explicit TestServer(ServerOptions options);
  /// Aborts responses under way, closes every connection and joins every thread.
  ~TestServer();
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  // Where

  /// The port that it listens on.
  std::uint16_t port() const;
  /// "127.0.0.1:49152", or "[::1]:49152".
  std::string authority() const;
  /// The absolute URL of a target on this server.
  std::string url(std::string_view target = "/") const;
  /// The same with a host name that resolves to this server, such as "localhost".
  std::string url(std::string_view target, std::string_view host) const;

  // Responses

  /// Adds a response for a request without a route. Enqueued responses are used in order, once each.
  void enqueue(MockResponse response);
  /// Sets the handler for requests to this path. A path that ends in `*` matches all paths that begin with the text
  /// before it; the longest match wins.
  void handle(std::string path, Handler handler);
  /// Sets the handler for requests without a route and without an enqueued response.
  void handleAll(Handler handler);
  /// The number of enqueued responses that are left.
  std::size_t remainingResponses() const;
  /// From now on counts the bytes of request bodies, and does not keep them.
  void discardBodies();
  /// From now on never sends "100 Continue". (`MockResponse::beforeRequestBody` refuses a body.)
  void ignoreExpectContinue();

  // What it received

  /// Waits for the next request that was not taken yet. Throws `std::runtime_error` when the limit passed first.
  ReceivedRequest takeRequest(Milliseconds limit = defaultWait);
  /// All complete requests so far, taken or not.
  std::vector<ReceivedRequest> requests() const;
  /// One record for each connection so far, in the order of acceptance.
  std::vector<ConnectionRecord> connections() const;
  /// The number of complete requests so far.
  int requestCount() const;
  /// The number of requests of which at least the head has arrived.
  int headCount() const;
  /// The number of bytes of all request bodies so far, including requests under way.
  std::uint64_t bodyBytesReceived() const;
  /// The number of connections accepted so far.
  int connectionCount() const;
  /// The number of open connections.
  int openConnections() const;
  /// The number of open connections that wait for a request.
  int idleConnections() const;
  /// The number of open connections that stall, are half-closed, or wait at a latch.
  int stalledConnections() const;

  // Waiting for it: false when the limit passed first

  /// Waits until the predicate holds; it is evaluated after every event at this server.
  [[nodiscard]] bool waitUntil(const std::function<bool()>& predicate, Milliseconds limit = defaultWait) const;
  /// Waits until at least this number of connections has been accepted in total.
  [[nodiscard]] bool waitForConnections(int count, Milliseconds limit = defaultWait) const;
  /// Waits until at least this number of complete requests has been received in total.
  [[nodiscard]] bool waitForRequests(int count, Milliseconds limit = defaultWait) const;
  /// Waits until a connection stalls, is half-closed, or waits at a latch.
  [[nodiscard]] bool waitForStall(Milliseconds limit = defaultWait) const;
  /// Waits until no connection is open.
  [[nodiscard]] bool waitUntilAllClosed(Milliseconds limit = defaultWait) const;

  // Acting on idle connections

  // Each waits until a connection is idle, acts on all idle connections, and returns their number. The bytes or the end
  // of the stream are then on the way to the client.

  /// Sends unsolicited bytes on all idle connections.
  int sendOnIdleConnections(std::string_view bytes);
  /// Closes all idle connections properly, without `Connection: close` before.
  int closeIdleConnections();
  /// Resets all idle connections.
  int resetIdleConnections();
  /// Refuses further connections; open ones continue.
  void stopListening();

  // What went wrong

  /// The failures so far that were not taken, one sentence each.
  std::vector<std::string> failures() const;
  /// Returns the failures so far and removes them, so that they are not reported.
  std::vector<std::string> takeFailures();
  /// Sets the process-wide reporter of failures that were not taken; it is called when a server is destroyed. By
  /// default they are written to standard error.
  static void reportFailuresTo(void (*reporter)(const std::string& failure));

 private:
  struct Core;

  int endIdleConnections(Ending ending);

  std::unique_ptr<Core> core_;
};

}  // namespace corvane::testkit
