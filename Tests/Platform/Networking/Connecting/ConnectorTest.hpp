#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "CorvaneTesting/CorvaneTesting.hpp"
#include "Platform/Networking/Connecting/Connector.hpp"
#include "TestSupport/LoopRun.hpp"

namespace platform::networking {

/// Waits for a connection, and remembers what it was told.
class RecordingConnectorOwner final : public ConnectorOwner {
 public:
  void connectorProgressed(Connector&) override { ++progress; }
  void connectorAsksTrust(Connector& connector, std::shared_ptr<const TrustQuery> asked) override {
    query = std::move(asked);
    if (verdict) connector.applyVerdict(*verdict);
  }
  void connectorOpened(Connector&, OpenStream made) noexcept override { open = std::move(made); }
  void connectorFailed(Connector&, Failure reason) noexcept override { failure = std::move(reason); }

  bool isDone() const { return open || failure; }

  /// Given at once when there is one.
  std::optional<bool> verdict = true;
  int progress = 0;
  std::shared_ptr<const TrustQuery> query;
  std::optional<OpenStream> open;
  std::optional<Failure> failure;
};

/// Connects to servers on the loopback interface.
class ConnectorTest : public testing::Test {
 protected:
  static Route route(std::string host, std::uint16_t port, bool isSecure = false) {
    return {.origin = {.isSecure = isSecure, .host = std::move(host), .port = port}};
  }

  /// Makes a connection and waits for it, or for the failure.
  RecordingConnectorOwner& connect(Route to) {
    owner = {};
    connector = std::make_unique<Connector>(loop, resolver, connectionOptions, context, std::move(to), owner);
    connector->start();
    EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return owner.isDone(); }));
    return owner;
  }

  /// Sends a request and reads until the text comes, or the stream ends.
  std::string exchange(ByteStream& stream, std::string_view request, std::string_view until) {
    const Bytes piece = std::as_bytes(std::span(request));
    EXPECT_EQ(stream.write({&piece, 1}).count, request.size());
    std::string all;
    const bool came = corvane::testkit::runUntil(loop, [&] { return readSome(stream, all) || all.ends_with(until); });
    EXPECT_TRUE(came) << all;
    return all;
  }

  /// Whether the stream ended.
  static bool readSome(ByteStream& stream, std::string& all) {
    while (true) {
      std::array<std::byte, 1000> room;
      const IOResult result = stream.read(room);
      if (result.status == IOStatus::wouldBlock) return false;
      if (result.status != IOStatus::done) return true;
      all.append(reinterpret_cast<const char*>(room.data()), result.count);
    }
  }

  EventLoop loop;
  Resolver resolver{loop};
  ConnectionOptions connectionOptions;
  std::shared_ptr<TLSContext> context = TLSContext::make();
  RecordingConnectorOwner owner;
  std::unique_ptr<Connector> connector;
};

}  // namespace platform::networking
