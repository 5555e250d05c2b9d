#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "CorvaneTesting/NetworkResponse.hpp"
#include "CorvaneTesting/SentRequest.hpp"

namespace corvane::testkit {

namespace detail {
class RouteState;
}

/// What a `MockNetwork` does with some of the requests: `MockNetwork::on` makes one, which is told whatever restricts
/// it first, and then how to respond. Its functions are called on a serial queue of the `MockNetwork`, one at a time.
/// They may send requests, but must not wait for one that the same `MockNetwork` decides about: neither would ever end.
///
/// ```
/// network.on<GetUser>().when(isAda).respond(NetworkResponse().json(ada));
/// network.on("POST https://users.example.com/users").times(1).respond(NetworkResponse(409));
/// network.on<GetUser>().respond(NetworkResponse(503), NetworkResponse().json(ada));   // first 503, then Ada
/// ```
///
/// Copies are the same route. All members may be called on any thread.
class MockRoute {
 public:
  /// Whether a request is one of the route's.
  using Predicate = std::function<bool(const SentRequest&)>;
  /// Returns the response to a request. What it throws is the error of the request.
  using Handler = std::function<NetworkResponse(const SentRequest&)>;

  /// Restricts the route to requests for which this is true, too. What it throws is the error of the request.
  MockRoute& when(Predicate predicate);
  /// The route takes no more than this number of requests; those after them are left to older routes, or unmatched.
  /// Default: no limit.
  MockRoute& times(int count);

  /// Adds responses, to be used in this order. The last one is used again and again. The route takes part once it has a
  /// response.
  template <std::same_as<NetworkResponse>... More>
  MockRoute& respond(NetworkResponse response, More... more) {
    std::vector<Response> responses;
    responses.emplace_back(std::move(response));
    (responses.emplace_back(std::move(more)), ...);
    return add(std::move(responses));
  }
  /// The same with a response that is computed from the request, when all of its body was sent. So the request counts
  /// as sent, also where the function returns `cannotConnect` or `hostNotFound`.
  template <std::invocable<const SentRequest&> Function>
  MockRoute& respond(Function function) {
    return add({Handler(std::move(function))});
  }

  /// The number of requests that it responded to.
  int count() const;
  /// The requests that it responded to, in order.
  std::vector<SentRequest> requests() const;

 private:
  friend class MockNetwork;
  explicit MockRoute(std::shared_ptr<detail::RouteState> state) : state_(std::move(state)) {}

  using Response = std::variant<NetworkResponse, Handler>;
  MockRoute& add(std::vector<Response> responses);

  std::shared_ptr<detail::RouteState> state_;
};

}  // namespace corvane::testkit
