#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"
#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"

namespace platform::detail {

/// A connection to a source in place of a server, for one exchange: it takes the request, body included, and gives out
/// the response piece by piece. Loop side only, its last reference included.
class SourcedConnection final : public networking::HTTPConnection,
                                private networking::Deferred,
                                public std::enable_shared_from_this<SourcedConnection> {
 public:
  /// How the load fails with an error that no connection has.
  struct Failing {
    /// The error of the exchange, which is about to fail.
    UniqueFunction<void(Error)> with;
    /// Ends the exchange as its time-out does.
    UniqueFunction<void()> byTimeout;
  };

  SourcedConnection(networking::EventLoop& loop, std::shared_ptr<ExchangeResponder> responder, Failing failing);
  ~SourcedConnection() override;

  std::string_view protocol() const override { return "HTTP/1.1"; }
  std::size_t capacity() const override { return stream_ ? 0 : 1; }
  std::size_t active() const override { return stream_ ? 1 : 0; }
  std::uint64_t started() const override { return hasStarted_ ? 1 : 0; }
  void start(networking::RequestStream& exchange) override;
  void cancel(networking::RequestStream& exchange) override;
  void bodyReady(networking::RequestStream& exchange) override;
  void setReading(networking::RequestStream& exchange, bool isWanted) override;
  void retire() override {}

 private:
  enum class Step : std::uint8_t { beginning, request, awaiting, head, body };

  void runDeferred() override;
  void go();
  void sendBody();
  networking::BodyStatus sendSome(networking::RequestBody& body);
  void await();
  void responded(SourcedResponse response);
  bool hasProblem() const;
  bool hasBody() const;
  std::size_t bodyEnd() const;
  void giveHead();
  void giveBody();
  void fail();

  networking::EventLoop& loop_;
  const std::shared_ptr<ExchangeResponder> responder_;
  Failing failing_;
  networking::RequestStream* stream_ = nullptr;
  Step step_ = Step::beginning;
  bool hasStarted_ = false;
  bool isReading_ = true;
  Data sent_;
  SourcedResponse response_;
  std::size_t given_ = 0;
};

}  // namespace platform::detail
