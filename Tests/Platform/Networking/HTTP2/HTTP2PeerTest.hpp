#pragma once

#include "HTTP2Test.hpp"
#include "TestSupport/HTTP2Peer.hpp"

namespace platform::networking {

/// With a well-behaved server at the other end.
class HTTP2PeerTest : public HTTP2Test {
 protected:
  /// Until neither side has anything more to say.
  void settle() {
    for (int iteration = 0; iteration < 10000; ++iteration) {
      run();
      const bool hasTaken = !wire.written().empty();
      ASSERT_TRUE(server->take());
      const bool hasSent = server->send();
      if (!hasTaken && !hasSent && wire.unread() == 0) return;
    }
    FAIL() << "they never settle";
  }
  void begin(RecordedExchange& exchange) {
    connection->start(exchange);
    settle();
  }
  void serveWith(corvane::testkit::HTTP2Peer::Options options) {
    server = std::make_unique<corvane::testkit::HTTP2Peer>(wire, options);
  }

  std::unique_ptr<corvane::testkit::HTTP2Peer> server = std::make_unique<corvane::testkit::HTTP2Peer>(wire);
};

}  // namespace platform::networking
