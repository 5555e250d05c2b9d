#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"
#include "TestSupport/HTTP2Frames.hpp"
#include "TestSupport/MemoryStream.hpp"
#include "TestSupport/RecordedExchange.hpp"

namespace platform::networking {

using corvane::testkit::Fields;
using corvane::testkit::MemoryWire;
using corvane::testkit::RecordedExchange;
using corvane::testkit::ScriptedBody;

/// A connection on a wire of memory and a loop that the test drives.
class HTTP2Test : public testing::Test, public HTTPConnectionOwner {
 protected:
  HTTP2Test() { connection = std::make_unique<HTTP2Connection>(loop, wire.makeStream(), *this); }
  ~HTTP2Test() override { connection.reset(); }

  /// Lets the connection do what it has to.
  void run() {
    for (int iteration = 0; iteration < 4; ++iteration) loop.iterate(Duration::zero());
  }
  void start(RecordedExchange& exchange) {
    connection->start(exchange);
    run();
  }
  /// Tells the connection of bytes of the server.
  void receive(std::string_view bytes) {
    wire.receive(bytes);
    run();
  }
  std::vector<corvane::testkit::http2::Frame> written() { return corvane::testkit::http2::parsed(wire.takeWritten()); }

  EventLoop loop;
  MemoryWire wire;
  std::unique_ptr<HTTP2Connection> connection;
  int available = 0;
  int retired = 0;
  int closed = 0;
  std::function<void()> onAvailable;

 private:
  void connectionAvailable(HTTPConnection&) override {
    ++available;
    if (onAvailable) onAvailable();
  }
  void connectionRetired(HTTPConnection&) override { ++retired; }
  void connectionClosed(HTTPConnection&) override {
    ++closed;
    connection.reset();
  }
};

}  // namespace platform::networking
