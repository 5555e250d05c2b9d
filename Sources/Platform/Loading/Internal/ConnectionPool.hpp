#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Platform/Loading/Internal/AdmissionQueue.hpp"
#include "Platform/Loading/Internal/Exchange.hpp"
#include "Platform/Loading/Internal/NetworkLoop.hpp"
#include "Platform/Loading/Internal/ProgressMeter.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace platform::detail {

/// The connections of one session: a libcurl multi handle on the loop's epoll, the cookies, the exchanges
/// under way and those that wait for their turn. Loop side only.
class ConnectionPool final : public Ticker, public EventHandler {
 public:
  /// Asks the session's delegate about a server; the answer comes to `decide`.
  using Challenge = std::function<void(const std::shared_ptr<TrustGate>&)>;

  ConnectionPool(NetworkLoop& loop, const URLSessionConfiguration& configuration, Challenge challenge);
  /// Requires: no exchange is under way.
  ~ConnectionPool() override;

  /// Starts an exchange for the owner, or queues it until there is room.
  void submit(ExchangeOwner& owner);
  /// Ends the owner's exchange, waiting or under way, without telling the owner.
  void withdraw(ExchangeOwner& owner);
  /// Lets the meter tell at its due time what it holds back, unless that was arranged already.
  void tellLater(ProgressMeter& meter);
  void tellNoMore(ProgressMeter& meter) { meters_.disarm(meter); }
  /// The delegate's verdict on a server.
  void decide(const std::shared_ptr<TrustGate>& gate, std::optional<Error> rejection);

  // For exchanges.
  const URLSessionConfiguration& configuration() const { return configuration_; }
  CURLSH* share() const { return share_; }
  void ask(const std::shared_ptr<TrustGate>& gate) { challenge_(gate); }
  /// The exchange is not to send more before what its server said has been read.
  void noteHeld(Exchange& exchange);
  NetworkLoop& loop() const { return loop_; }
  /// Whether the connection with these ports was closed, or received bytes nobody asked for, while it was idle.
  bool isTainted(int localPort, int remotePort) const;
  /// The connection speaks HTTP/2: what its server says while it is idle taints nothing.
  void noteMultiplexed(int descriptor) { socketAt(descriptor).isMultiplexed = true; }

  // Ticker and EventHandler.
  LoopTime nextTick() override;
  void tick(LoopTime now) override;
  bool isBusy() const override { return !active_.empty() || admission_.waiting() > 0; }
  void slept(LoopTime duration) override;
  void ready(int descriptor, std::uint32_t events) override;

  /// The descriptor is to become a connection. Its number may have been another's: libcurl closes what did not get
  /// connected without a word.
  void noteOpened(int descriptor);
  /// Closes a connection's descriptor; libcurl's callback, which may come when the exchange is long gone.
  static int closeSocket(void* self, curl_socket_t descriptor);

 private:
  /// A descriptor. That of a connection stays registered while the connection is idle, since libcurl asks to
  /// remove and to add it around every request.
  struct Socket {
    std::uint32_t registered = 0;  ///< what epoll reports
    std::uint32_t wanted = 0;      ///< what libcurl wants
    bool isOpen = false;
    /// Which connection it is, counted from 1; 0 for libcurl's resolver.
    std::uint64_t connection = 0;
    bool isTainted = false;
    /// Speaks HTTP/2, where a server may say something at any time.
    bool isMultiplexed = false;
    std::uint32_t ports = 0;
    Exchange* exchange = nullptr;
  };

  static int socketChanged(CURL* handle, curl_socket_t descriptor, int what, void* self, void* socket);
  static int timerChanged(CURLM* multi, long milliseconds, void* self);

  void admit();
  void start(ExchangeOwner& owner);
  std::unique_ptr<Exchange> takeExchange();
  void end(Exchange& exchange, ExchangeOutcome outcome);
  void loseHeld(Exchange& exchange);
  bool awaitsVerdict(const Exchange& late) const;
  void touchWhoWaitsWith(const Exchange& judged);
  void endUnwatched();
  void detach(Exchange& exchange);
  void leaveConnecting(Exchange& exchange);
  void forget(int descriptor);
  void act(curl_socket_t descriptor, int events);
  void settleHeld();
  void serve(int descriptor, int flags);
  void learnPorts(int descriptor, Socket& socket);
  void collectFinished();
  void apply(int descriptor, Socket& socket);
  Socket& socketAt(int descriptor);

  NetworkLoop& loop_;
  URLSessionConfiguration configuration_;
  Challenge challenge_;
  CURLM* multi_;
  CURLSH* share_ = nullptr;
  std::uint64_t connections_ = 0;  ///< ever opened
  std::vector<Socket> sockets_;    ///< by descriptor
  std::unordered_map<std::uint32_t, int> descriptorsByPorts_;
  std::vector<std::unique_ptr<Exchange>> active_;
  std::vector<std::unique_ptr<Exchange>> spare_;
  std::vector<Exchange*> held_;       ///< of the active ones
  std::vector<Exchange*> unwatched_;  ///< of the active ones: those whose connection cannot be watched
  AdmissionQueue admission_;
  LoopTime timerDue_;
  DeadlineQueue<Exchange> deadlines_;
  DeadlineQueue<ProgressMeter> meters_;
};

}  // namespace platform::detail
