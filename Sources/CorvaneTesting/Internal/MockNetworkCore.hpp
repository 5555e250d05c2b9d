#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/Internal/Recorder.hpp"
#include "CorvaneTesting/Internal/RouteState.hpp"
#include "CorvaneTesting/SentRequest.hpp"
#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/ExchangeSource.hpp"

namespace corvane::testkit::detail {

/// What is behind a `MockNetwork`. Responses are chosen, and the test's functions called, on its serial queue. Any
/// thread, but where something else is said.
class MockNetworkCore final : public platform::detail::ExchangeSource,
                              public std::enable_shared_from_this<MockNetworkCore> {
 public:
  using SourcedRequest = platform::detail::SourcedRequest;
  using Respond = platform::detail::ExchangeResponder::Respond;
  using Time = std::chrono::steady_clock::time_point;

  void add(std::shared_ptr<ResponseSource> source);
  /// What is to hear of the exchanges with the network.
  void record(std::shared_ptr<Recorder> recorder);
  /// Null: nothing does.
  std::shared_ptr<Recorder> recorder() const;
  std::vector<SentRequest> requests() const;
  std::vector<SentRequest> unmatchedRequests() const;
  bool waitForRequests(std::size_t count, Time limit) const;
  /// Ends what waits for a response. When it returns, none of the test's functions runs, or will.
  void close();

  void ask(std::shared_ptr<const SourcedRequest> request, Decide decide) override;

 private:
  class Responder;
  using Mutex = platform::detail::Mutex;

  /// Ends a wait: with what it waited for, or with an error in its place.
  using End = platform::UniqueFunction<void(std::optional<platform::Error>)>;
  /// A response that is due later.
  struct Pending {
    std::uint64_t number = 0;
    std::string request;
    End end;
  };

  std::vector<std::shared_ptr<ResponseSource>> sources() const;

  // On the queue.
  void choose(const std::shared_ptr<const SourcedRequest>& request, Decide& decide);
  void respond(const SentRequest& request, ResponseSource& source, const RouteResponse& response, Respond respond);
  void note(const SentRequest& request, ResponseSource& source);
  void noteUnmatched(const SentRequest& request);
  void endAfter(double seconds, std::string request, End end);
  void endNow(std::uint64_t number);
  void closeNow();

  const platform::DispatchQueue queue_{"org.corvane.Corvane.Testing.MockNetwork"};
  bool isClosed_ = false;  // on the queue, from here on
  std::list<Pending> pending_;
  std::uint64_t lastNumber_ = 0;

  mutable Mutex mutex_;
  mutable platform::detail::ConditionVariable changed_;
  /// The newest first.
  std::vector<std::shared_ptr<ResponseSource>> sources_ CORVANE_GUARDED_BY(mutex_);
  std::shared_ptr<Recorder> recorder_ CORVANE_GUARDED_BY(mutex_);
  std::vector<SentRequest> requests_ CORVANE_GUARDED_BY(mutex_);
  std::vector<SentRequest> unmatched_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::testkit::detail
