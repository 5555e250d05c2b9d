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

namespace corvane::testing {

/// Where a server listens, and how.
struct ServerOptions {
  /// Numeric addresses, all on the same port.
  std::vector<std::string> addresses = {"127.0.0.1"};
  /// Zero lets the system choose a free one.
  std::uint16_t port = 0;
  /// Absent: in the clear.
  std::optional<Tls> tls;
  /// Keeps what arrived, for `takeRequest`, `requests` and `connections`. A server that runs for long should not.
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
/// It listens from construction to destruction. A request is answered by the route of its path; without one, by
/// the next enqueued response; without one, by the catch-all. A request for which there is nothing is answered with
/// 500 and recorded as a failure, as are malformed requests. Failures that were not taken are reported at destruction.
///
/// Every connection has a thread of its own; handlers run there, several at a time. All members may be called from
/// any thread. Waits end after `defaultWait` unless told otherwise, so that a test that waits in vain fails.
class TestServer {
 public:
  /// Makes the response to a request. Called on the thread of its connection, for several at a time.
  using Handler = std::function<MockResponse(const ReceivedRequest&)>;
  /// The unit of every limit.
  using Milliseconds = std::chrono::milliseconds;
  /// How long a wait lasts that is not told otherwise: ten seconds.
  static constexpr Milliseconds defaultWait{10'000};

  /// In the clear, on 127.0.0.1, at a port that the system chooses.
  TestServer();
  /// The same over TLS.
  explicit TestServer(Tls tls);
  /// As the options say. Throws `std::system_error` when the port cannot be had.
  explicit TestServer(ServerOptions options);
  /// Breaks off whatever is under way, closes every connection and joins every thread.
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
  /// The same by way of a name that leads here, such as "localhost".
  std::string url(std::string_view target, std::string_view host) const;

  // Responses

  /// Adds a response to those for requests without a route; they are used in this order, once each.
  void enqueue(MockResponse response);
  /// Answers every request to this path. A path that ends in `*` stands for all that begin so; the longest wins.
  void handle(std::string path, Handler handler);
  /// Answers what neither a route nor the queue answers.
  void handleAll(Handler handler);
  /// How many enqueued responses are left.
  std::size_t remainingResponses() const;
  /// Counts the bytes of request bodies from now on, and does not keep them.
  void discardBodies();
  /// Never says "100 Continue" from now on. (`MockResponse::beforeRequestBody` refuses a body.)
  void ignoreExpectContinue();

  // What it received

  /// The next request that was not taken yet; throws `std::runtime_error` when none arrives in time.
  ReceivedRequest takeRequest(Milliseconds limit = defaultWait);
  /// All complete requests so far, taken or not.
  std::vector<ReceivedRequest> requests() const;
  /// One record for each connection so far, in the order of acceptance.
  std::vector<ConnectionRecord> connections() const;
  /// How many complete requests there were so far.
  int requestCount() const;
  /// Requests of which at least the head arrived.
  int headCount() const;
  /// The bytes of all request bodies so far, those under way included.
  std::uint64_t bodyBytesReceived() const;
  /// All connections ever accepted.
  int connectionCount() const;
  /// How many connections are open.
  int openConnections() const;
  /// Open connections that wait for a request.
  int idleConnections() const;
  /// Open connections that stall, are half-closed, or wait at a latch.
  int stalledConnections() const;

  // Waiting for it: false when the limit passed first

  /// Asks the predicate after every event at this server.
  [[nodiscard]] bool waitUntil(const std::function<bool()>& predicate, Milliseconds limit = defaultWait) const;
  /// Waits until so many connections were accepted in all.
  [[nodiscard]] bool waitForConnections(int count, Milliseconds limit = defaultWait) const;
  /// Waits until so many requests were received in all.
  [[nodiscard]] bool waitForRequests(int count, Milliseconds limit = defaultWait) const;
  /// Waits until a connection stalls, is half-closed, or waits at a latch.
  [[nodiscard]] bool waitForStall(Milliseconds limit = defaultWait) const;
  /// Waits until no connection is open.
  [[nodiscard]] bool waitUntilAllClosed(Milliseconds limit = defaultWait) const;

  // Acting on idle connections

  // Each waits until a connection is idle, acts on all that are, and returns how many those were once it is done:
  // the bytes or the end of the stream are then on their way to the client.

  /// Sends unsolicited bytes.
  int sendOnIdleConnections(std::string_view bytes);
  /// Closes them in good order, unannounced.
  int closeIdleConnections();
  /// Resets them.
  int resetIdleConnections();
  /// Refuses further connections; those that are open go on.
  void stopListening();

  // What went wrong

  /// What went wrong so far, a sentence each.
  std::vector<std::string> failures() const;
  /// The failures so far, which are then not reported any more.
  std::vector<std::string> takeFailures();
  /// Sets the process-wide reporter of failures that were not taken. By default they go to standard error.
  static void reportFailuresTo(void (*reporter)(const std::string& failure));

 private:
  struct Core;

  int endIdleConnections(Ending ending);

  std::unique_ptr<Core> core_;
};

}  // namespace corvane::testing
