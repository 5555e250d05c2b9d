#pragma once

#include <memory>
#include <optional>
#include <typeinfo>
#include <variant>
#include <vector>

#include "CorvaneTesting/Internal/URLPattern.hpp"
#include "CorvaneTesting/MockRoute.hpp"
#include "Platform/Detail/Locking.hpp"

namespace corvane::testkit::detail {

/// A response, or what computes it.
using RouteResponse = std::variant<NetworkResponse, MockRoute::Handler>;

/// Where a `MockNetwork` takes responses from.
class ResponseSource {
 public:
  virtual ~ResponseSource() = default;
  /// The response to a request, used up by it; absent: the request is not for this one. On the network's queue.
  virtual std::optional<RouteResponse> take(const SentRequest& request) = 0;
  /// Whether it would, as far as that can be told without calling a function of the test. On the network's queue.
  virtual bool mightTake(const SentRequest& request) const = 0;
  /// The request was sent whole, and gets its response.
  virtual void responded(const SentRequest& request) = 0;
};

/// What is behind a `MockRoute`. Any thread.
class RouteState final : public ResponseSource {
 public:
  /// Null: any type.
  RouteState(const std::type_info* type, URLPattern pattern) : type_(type), pattern_(std::move(pattern)) {}

  void narrow(MockRoute::Predicate predicate);
  void limit(int count);
  void add(std::vector<RouteResponse> responses);
  std::vector<SentRequest> requests() const;

  std::optional<RouteResponse> take(const SentRequest& request) override;
  bool mightTake(const SentRequest& request) const override;
  void responded(const SentRequest& request) override;

 private:
  using Mutex = platform::detail::Mutex;

  bool fits(const SentRequest& request) const;
  bool isFor(const SentRequest& request) const;
  bool hasResponse() const CORVANE_REQUIRES(mutex_);

  const std::type_info* const type_;
  const URLPattern pattern_;
  mutable Mutex mutex_;
  std::vector<MockRoute::Predicate> predicates_ CORVANE_GUARDED_BY(mutex_);
  std::optional<int> left_ CORVANE_GUARDED_BY(mutex_);
  std::vector<RouteResponse> responses_ CORVANE_GUARDED_BY(mutex_);
  std::size_t next_ CORVANE_GUARDED_BY(mutex_) = 0;
  std::vector<SentRequest> requests_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace corvane::testkit::detail
