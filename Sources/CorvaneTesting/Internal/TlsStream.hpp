#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "CorvaneTesting/Internal/Stream.hpp"
#include "CorvaneTesting/Tls.hpp"

struct ssl_st;
struct ssl_ctx_st;

namespace corvane::testkit::detail {

/// What the TLS connections of one server share.
class TlsContext {
 public:
  /// Throws `std::invalid_argument` when certificate and key are not what they should be.
  explicit TlsContext(const Tls& settings);

  ssl_ctx_st* handle() const { return handle_.get(); }
  bool saysGoodbye() const { return saysGoodbye_; }
  /// -1 for none.
  int resetLatch() const { return resetLatch_ ? resetLatch_->descriptor() : -1; }

 private:
  std::shared_ptr<ssl_ctx_st> handle_;
  bool saysGoodbye_;
  std::optional<Latch> resetLatch_;
};

/// A stream inside TLS.
class TlsStream final : public Stream {
 public:
  struct Handshake {
    std::string error;
    std::string sni;
    std::string version;
    bool resumed = false;
    /// The test wants the connection reset before the handshake is over.
    bool isToBeReset = false;
  };

  TlsStream(Descriptor socket, const Event& stop, std::shared_ptr<TlsContext> context);
  ~TlsStream() override;

  /// Is told the name of each alert that the client sends.
  void onAlert(std::function<void(const std::string&)> handler) { alertHandler_ = std::move(handler); }
  Handshake shakeHands();

  std::size_t read(char* buffer, std::size_t size) override;
  void write(std::string_view bytes) override;
  std::size_t writeWithoutWaiting(std::string_view bytes) override;
  bool holdsBytes() const override;
  void sayGoodbye() override;

 private:
  static void onEvent(const ssl_st* ssl, int where, int value);
  /// Waits for what the last call, which returned `result`, lacked; false when it failed for good.
  bool waitAfter(int result);
  /// The same inside the handshake, which a latch may end.
  bool waitAfter(int result, Handshake& handshake);

  std::shared_ptr<TlsContext> context_;
  std::unique_ptr<ssl_st, void (*)(ssl_st*)> ssl_;
  std::function<void(const std::string&)> alertHandler_;
  bool isBroken_ = false;
};

}  // namespace corvane::testkit::detail
