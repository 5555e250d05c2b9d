#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Pool/AdmissionQueue.hpp"
#include "Platform/Networking/Pool/ConnectionBudget.hpp"
#include "Platform/Networking/Pool/HostConnections.hpp"
#include "Platform/Networking/Streams/ByteThrottle.hpp"

namespace platform::networking {

class Resolver;
class TLSContext;

/// The connections of one session, the exchanges under way and those that wait for their turn. Loop side only.
class ConnectionPool final : private Deferred, private SleepObserver, private Timer, private ConnectionBudgetOwner {
 public:
  /// Asks for the verdict on a server; it comes to `decide`.
  using Challenge = std::function<void(const std::shared_ptr<const TrustQuery>&)>;

  ConnectionPool(EventLoop& loop, Resolver& resolver, std::shared_ptr<TLSContext> context, Challenge challenge,
                 ConnectionOptions options = {});
  /// Requires: no exchange is in it.
  ~ConnectionPool() override;
  ConnectionPool(const ConnectionPool&) = delete;
  ConnectionPool& operator=(const ConnectionPool&) = delete;

  /// Sends the exchange's request, at once or when it is its turn. Throws `std::bad_alloc` where there is no room for
  /// it, and has not taken it then; whatever happens later is told to its owner. `idleTimeout` is how long nothing may
  /// move; `hostMaximum` how many exchanges to that host are under way at a time, 0: as many as pay off.
  void submit(Exchange& exchange, const Route& route, Duration idleTimeout, std::size_t hostMaximum);
  /// Sends it over a connection that is not the pool's and stays alive until the exchange has left, at once; it takes
  /// nobody's place.
  void submit(Exchange& exchange, HTTPConnection& connection, Duration idleTimeout);
  /// Ends the exchange, wherever it is, without telling its owner. Does nothing for one that is outside.
  void withdraw(Exchange& exchange);
  /// The verdict on a server: absent, it is trusted.
  void decide(const std::shared_ptr<const TrustQuery>& query, const std::optional<Error>& rejection);

  // For the parts of the pool.
  EventLoop& loop() const { return loop_; }
  Resolver& resolver() const { return resolver_; }
  const std::shared_ptr<TLSContext>& context() const { return context_; }
  const ConnectionOptions& options() const { return options_; }
  void ask(const std::shared_ptr<const TrustQuery>& query) { challenge_(query); }
  void exchangeEnded(Exchange& exchange, std::optional<ExchangeProblem> problem);
  void exchangeRefused(Exchange& exchange);
  void exchangeTimedOut(Exchange& exchange);
  void exchangeConnectTimedOut(Exchange& exchange);
  void exchangeFailed(Exchange& exchange, ExchangeFailure failure);
  /// Those made later have greater numbers.
  std::uint64_t nextConnectionNumber() { return ++connections_; }
  /// Starts what may start.
  void admit();
  void becameIdle(PooledConnection& connection);
  void leftIdle(PooledConnection& connection);
  /// Destroys the closed connection, soon.
  void bury(std::unique_ptr<PooledConnection> closed);
  AdmissionQueue& admission() { return admission_; }
  /// Who may make connections.
  ConnectionBudget& budget() { return budget_; }
  /// What new connections send and receive through; null: they move what there is.
  ByteThrottle* throttle() const { return throttle_.get(); }
  /// Closes the connection that has been idle longest; false when there is none.
  bool closeOneIdle();

 private:
  struct RouteHash {
    std::size_t operator()(const Route& route) const;
  };

  void runDeferred() override;
  void loopSlept(TimePoint now, Duration duration) override;
  void timerFired() override { admit(); }
  /// Handled in the next iteration, as it is told from amid of what makes and closes connections.
  void slotsChanged() override { loop_.defer(*this); }
  void divideSlots();
  HostConnections& hostOf(const Route& route);
  void begin(Exchange& exchange, Duration idleTimeout);
  void takeOut(Exchange& exchange, bool hasTimedOut);
  void leave(Exchange& exchange);
  template <class Tell>
  void tell(Tell tellOwner);

  EventLoop& loop_;
  Resolver& resolver_;
  const std::shared_ptr<TLSContext> context_;
  Challenge challenge_;
  const ConnectionOptions options_;
  AdmissionQueue admission_;
  ConnectionBudget budget_;
  std::unique_ptr<ByteThrottle> throttle_;
  /// Somebody is being told of the end of an exchange. What is submitted meanwhile waits until it is known what becomes
  /// of the connection that the exchange ran on.
  bool isTelling_ = false;
  std::uint64_t connections_ = 0;  ///< made so far
  std::vector<std::unique_ptr<PooledConnection>> closed_;
  std::unordered_map<Route, std::unique_ptr<HostConnections>, RouteHash> hosts_;
  IntrusiveList<PooledConnection> idle_;  ///< of all hosts; the one that has been idle longest comes first
  std::size_t idleCount_ = 0;
  std::size_t idleLimit_;
};

}  // namespace platform::networking
