#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"
#include "TestSupport/MemoryStream.hpp"

namespace platform::networking {

/// A body in memory that gives its bytes in the way a test wants.
class ScriptedBody final : public RequestBody {
 public:
  enum class Way { peek, read, sendTo };

  explicit ScriptedBody(std::string text, Way way = Way::peek) : text_(std::move(text)), way_(way) {}

  /// Gives no more than this until more is allowed; then `pending`.
  std::size_t available = std::string::npos;
  /// What comes when `text` is used up.
  BodyStatus atEnd = BodyStatus::end;
  /// The most that one read gives.
  std::size_t pieceBytes = std::string::npos;
  bool saysLength = true;
  int directWrites = 0;

  std::optional<std::uint64_t> length() const override {
    return saysLength ? std::optional<std::uint64_t>(text_.size()) : std::nullopt;
  }
  bool rewind() override {
    sent_ = 0;
    return true;
  }
  Bytes peek() override;
  void advance(std::size_t count) override { sent_ += count; }
  BodyRead read(std::span<std::byte> room) override;
  std::optional<IOResult> sendTo(ByteStream& stream, std::size_t limit) override;

 private:
  std::string_view left() const;

  const std::string text_;
  const Way way_;
  std::size_t sent_ = 0;
};

/// An exchange that writes down what it is told, and does what the test says meanwhile.
class ScriptedExchange final : public RequestStream {
 public:
  explicit ScriptedExchange(std::string_view method = "GET") { request.method = method; }

  RequestHead request{.method = "GET", .authority = "example.org", .target = "/"};
  RequestBody* requestBytes = nullptr;
  BodyDisposition disposition = BodyDisposition::deliver;
  bool takesBody = true;
  /// The size of what `bodyRoom` gives.
  std::size_t roomBytes = 0;
  /// Called with the name of each call ("head", "body", ...) after it was written down.
  std::function<void(std::string_view)> onCall;

  /// "began | sent | head 200 | end": each call but `bodySent`, `body` and `progressed`.
  const std::string& log() const { return log_; }
  const std::string& responseBody() const { return body_; }
  std::uint64_t sent() const { return sent_; }
  int progress() const { return progress_; }
  bool isOver() const { return isOver_; }
  const std::optional<ExchangeFailure>& failure() const { return failure_; }
  std::size_t filledBytes() const { return filledBytes_; }

  /// Announces the body.
  void sends(ScriptedBody& body);

  const RequestHead& requestHead() const override { return request; }
  RequestBody* requestBody() override { return requestBytes; }
  void requestBegan(std::size_t) override { note("began"); }
  void bodySent(std::uint64_t total) override;
  void requestEnded() override { note("sent"); }
  void progressed() override;
  BodyDisposition head(const ResponseHeadView& head) override;
  bool body(Bytes bytes) override;
  std::span<std::byte> bodyRoom(std::size_t count) override;
  bool bodyFilled(std::size_t count) override;
  void trailers(std::span<const FieldView> fields) override;
  void end() override;
  void failed(ExchangeFailure failure) override;

 private:
  void note(std::string_view text);
  void called(std::string_view name) {
    if (onCall) onCall(name);
  }

  std::string log_;
  std::string body_;
  std::string room_;
  std::uint64_t sent_ = 0;
  std::size_t filledBytes_ = 0;
  int progress_ = 0;
  bool isOver_ = false;
  std::optional<ExchangeFailure> failure_;
};

/// A connection over memory, its loop and its owner.
class HTTP1ConnectionTest : public ::testing::Test, public HTTPConnectionOwner {
 protected:
  HTTP1ConnectionTest() { connect(); }

  /// Makes a connection over a wire of its own, and forgets what was told of the one before.
  void connect(corvane::testkit::MemoryWire::Options options = {});
  void iterate() { loop.iterate(Duration::zero()); }
  /// Lets time pass, and what is due be done.
  void pass(Duration time) {
    clock.advance(time);
    iterate();
  }
  bool isOpen() const { return connection && !wire.isShutDown(); }

  ManualNetworkClock clock;
  EventLoop loop;
  corvane::testkit::MemoryWire wire;
  std::unique_ptr<HTTP1Connection> connection;
  /// "available | retired | closed".
  std::string told;
  /// Whether the owner destroys the connection when it is told that it closed.
  bool destroysWhenClosed = true;
  std::function<void()> onAvailable;

 private:
  void note(std::string_view text) { told.append(told.empty() ? "" : " | ").append(text); }
  void connectionAvailable(HTTPConnection& one) override;
  void connectionRetired(HTTPConnection& one) override;
  void connectionClosed(HTTPConnection& one) override;
};

}  // namespace platform::networking
