#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Networking/Connecting/Resolver.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"
#include "Platform/Networking/Exchange.hpp"
#include "Platform/Networking/Pool/ConnectionPool.hpp"
#include "TestSupport/LoopRun.hpp"

namespace platform::networking {

/// A server's end of one connection. What is written is there for the client as soon as `write` returns.
class PeerConnection {
 public:
  explicit PeerConnection(detail::FileDescriptor socket) : socket_(std::move(socket)) {}

  void write(std::string_view bytes);
  /// Whether the client closed the connection, all that it had sent having been read.
  bool hasEnded();
  /// All that the client has sent so far.
  const std::string& received();

 private:
  detail::FileDescriptor socket_;
  std::string received_;
  bool hasEnded_ = false;
};

/// Accepts connections on 127.0.0.1, and nothing else.
class Peer {
 public:
  Peer();
  std::uint16_t port() const { return port_; }
  /// Null when no connection waits.
  std::unique_ptr<PeerConnection> accept();

 private:
  detail::FileDescriptor socket_;
  std::uint16_t port_ = 0;
};

/// A GET, and what came of it.
class PooledGet final : public ExchangeOwner {
 public:
  explicit PooledGet(ConnectionPool& pool) : exchange(pool, *this) {}

  bool isOver() const { return outcomes > 0; }

  Exchange exchange;
  BodyDisposition disposition = BodyDisposition::deliver;
  int status = 0;
  std::string body;
  int outcomes = 0;
  std::optional<ExchangeProblem> problem;
  std::function<void()> then;
  std::vector<FieldView> fields;

 private:
  const RequestHead& requestHead() const override {
    head_.fields = fields;
    return head_;
  }
  RequestBody* requestBody() override { return nullptr; }
  void requestGoesOut() noexcept override {}
  BodyDisposition responseHead(const ResponseHeadView& head) override;
  bool responseBody(Bytes bytes) override;
  std::span<std::byte> responseRoom(std::size_t) override { return {}; }
  bool responseFilled(std::size_t) override { return true; }
  void requestBodySent(std::uint64_t) override {}
  void exchangeEnded(std::optional<ExchangeProblem> ended) noexcept override;
  void exchangeRefused() noexcept override {}

  mutable RequestHead head_{.method = "GET", .authority = "127.0.0.1", .target = "/"};
};

/// A pool, a server that does as the test says, and a clock that is set by hand.
class ConnectionPoolTest : public testing::Test {
 protected:
  static constexpr Duration timeout = std::chrono::seconds(60);

  void submit(PooledGet& get, bool isSecure = false, Duration idleTimeout = timeout) {
    pool.submit(get.exchange, {.origin = {.isSecure = isSecure, .host = "127.0.0.1", .port = peer.port()}}, idleTimeout,
                0);
  }
  /// The connection that the pool makes next, once the request is there.
  std::unique_ptr<PeerConnection> nextConnection(bool hasRequest = true);
  void iterate() { loop.iterate(Duration::zero()); }
  /// Lets time pass, and what is due be done.
  void pass(Duration time) {
    clock.advance(time);
    iterate();
  }
  [[nodiscard]] bool run(const std::function<bool()>& until) { return corvane::testkit::runUntil(loop, until); }

  ManualNetworkClock clock;
  EventLoop loop;
  Resolver resolver{loop};
  Peer peer;
  /// Asked for the verdict on servers; nothing is said by default.
  ConnectionPool::Challenge challenge = [](const auto&) {};
  ConnectionPool pool{loop, resolver, TLSContext::make(), [this](const auto& query) { challenge(query); }};
};

}  // namespace platform::networking
