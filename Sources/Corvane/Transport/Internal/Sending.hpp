#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Corvane/Transport/HTTPService.hpp"
#include "Corvane/Transport/Internal/TaskStop.hpp"
#include "Corvane/Transport/SessionKey.hpp"
#include "Platform/Foundation/Progress.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane::detail {

class InterceptedSend;

/// What stood between a request and the network when it was sent. It holds for all that becomes of the request, however
/// late interceptors let it go out.
class NetworkAccess {
 public:
  NetworkAccess() = default;
  /// That of this moment.
  explicit NetworkAccess(const SendExchange& exchange);

  /// Gives the request what tests put in place of the network, where there is something, which then decides whether the
  /// network is used. Else throws `HTTPNetworkForbiddenError` for a request that needs the network while that was
  /// forbidden.
  void enter(platform::URLRequest& request) const;

 private:
  std::shared_ptr<const platform::detail::ExchangeSources> sources_;
  bool isForbidden_ = false;
};

/// One exchange on its way, with what its task is made of. Kinds of task derive from it; they are made in `start`.
class Sending : public std::enable_shared_from_this<Sending> {
 public:
  struct Parts {
    std::shared_ptr<SendExchange> exchange;
    /// Null where there is no progress handler.
    std::shared_ptr<ProgressRelay> relay;
    SessionKey sessionKey;
    ServiceClient client;
    platform::URLRequest request;
    NetworkAccess access = {};
    /// The body of an upload that is sent from its file.
    std::optional<platform::URL> bodyFile = {};
    /// Gets the outcome in place of the pipeline; null where there are no interceptors.
    std::shared_ptr<InterceptedSend> receiver = nullptr;

    bool isIntercepted() const;
  };

  explicit Sending(Parts parts) : parts_(std::move(parts)) {}
  virtual ~Sending();
  Sending(const Sending&) = delete;
  Sending& operator=(const Sending&) = delete;

  /// Validates, chooses a session, builds the URL request, and starts a task of the kind, or passes all of it to the
  /// interceptors. What is thrown on the way becomes the outcome. `more` is for the kind's constructor.
  template <class Kind, class... More>
  static void start(std::shared_ptr<SendExchange> exchange, std::shared_ptr<ProgressRelay> relay, More... more) {
    try {
      if (!exchange->shouldSend()) return;
      exchange->validate();
      Parts parts = partsOf(exchange, std::move(relay));
      Kind::complete(parts);
      if (parts.isIntercepted()) return Kind::intercept(std::move(parts), std::move(more)...);
      std::make_shared<Kind>(std::move(parts), std::move(more)...)->begin();
    } catch (...) {
      report(std::move(exchange), platform::Error::current());
    }
  }

  void begin();

 protected:
  /// Adds what the kind needs beside.
  static void complete(Parts&) {}
  virtual std::shared_ptr<platform::URLSessionTask> makeTask(platform::URLSession& session) = 0;

  SendExchange& exchange() const { return *parts_.exchange; }
  const std::shared_ptr<SendExchange>& sharedExchange() const { return parts_.exchange; }
  platform::URLRequest& request() { return parts_.request; }
  const std::optional<platform::URL>& bodyFile() const { return parts_.bodyFile; }
  const std::shared_ptr<InterceptedSend>& receiver() const { return parts_.receiver; }
  /// What interceptors sent; null without any.
  std::shared_ptr<const platform::URLRequest> sent() const;
  /// The completion of a task whose outcome is in memory.
  platform::URLSession::DataCompletion dataCompletion();
  /// What every completion does first. False where the task was turned away, and another one begins in its place.
  bool isOver(const std::optional<platform::Error>& error);
  /// Of the task; null until it is over.
  std::shared_ptr<const platform::TaskMetrics> metrics() const { return task_ ? task_->metrics() : nullptr; }
  /// What every completion does then.
  void process(TaskOutcome outcome);
  /// An outcome that is nothing but an error.
  void fail(platform::Error error);

 private:
  static Parts partsOf(const std::shared_ptr<SendExchange>& exchange, std::shared_ptr<ProgressRelay> relay);
  std::shared_ptr<platform::URLSession> session();
  std::stop_token stop() const;

  Parts parts_;
  std::shared_ptr<platform::URLSessionTask> task_;
  TaskStop stop_;
  /// Watches the task from before it runs until its outcome was processed.
  platform::ProgressObservation observation_;
};

}  // namespace corvane::detail
