#pragma once

#include <concepts>
#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

#include "Corvane/Transport/HTTPInterceptedResponse.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Velisand/Future.hpp"
#include "Velisand/Task.hpp"

namespace corvane {

namespace detail {
class Interception;
}

/// The kinds of exchanges that interceptors see.
///
///     if (chain.kind() == HTTPExchangeKind::download) request.allHTTPHeaderFields.set("X-Purpose", "download");
enum class HTTPExchangeKind {
  data,      ///< the body of the response is in memory
  upload,    ///< the same; the body of the request may be a file
  download,  ///< the body of the response goes to a file
  stream     ///< the body of the response is handed out while it arrives: interceptors see the head
};

/// The way of one request from an interceptor on: the interceptors after it, and the network behind the last. Copies
/// are the same way; may be used on any thread, and kept until the response is there.
class CORVANE_API HTTPInterceptorChain {
 public:
  /// Sends the request on. The future is completed once, and does not fail: a failed exchange is a response with an
  /// `error`. The next interceptor is called before this returns, on the calling thread. Any number of times, one after
  /// the other or at the same time; of one request `HTTPInterceptor::maximumSends` may be sent to the network, and as
  /// many to the next interceptor by each, otherwise the outcome is `HTTPInterceptorError::tooManySends`. A body that
  /// can be read once, and was, makes a further exchange fail with "kCFErrorDomainCFNetwork" -1021, before anything is
  /// sent.
  ///
  /// `cancel` of the future ends that exchange alone; its `error` is then "NSURLErrorDomain" -999. It is cancelled with
  /// the request, too, and when the request ends with another response.
  velisand::Future<HTTPInterceptedResponse> send(platform::URLRequest request) const;

  /// The kind of the exchange.
  HTTPExchangeKind kind() const;
  /// The file that is the body of an upload; absent for other bodies. It is sent unless the request that is sent on has
  /// a body of its own.
  const std::optional<platform::URL>& bodyFile() const;
  /// The stop and the deadline of the request, for what is sent on its behalf.
  SendOptions options() const;
  /// The queue of the block that sent the request; absent where none did.
  const std::optional<platform::DispatchQueue>& sender() const;

 private:
  friend class detail::Interception;

  struct Position;
  explicit HTTPInterceptorChain(std::shared_ptr<Position> position) : position_(std::move(position)) {}

  std::shared_ptr<Position> position_;
};

/// Takes part in every exchange of the requests that a client configuration is for: changes the request, responds in
/// place of the server, looks at the response or replaces it, sends again.
///
///     struct Stamp final : HTTPInterceptor {
///       Future<HTTPInterceptedResponse> intercept(URLRequest request, HTTPInterceptorChain chain) override {
///         request.allHTTPHeaderFields.set("X-Request-ID", UUID().uuidString());
///         auto response = co_await chain.send(request);
///         if (response.statusCode() == 503) response = co_await chain.send(request);
///         co_return response;
///       }
///     };
///     configuration.interceptors.push_back(std::make_shared<Stamp>());
///
/// **Where it stands.** Interceptors are called in the order of the list, after the request was validated and composed,
/// with its body encoded; what the last one sends on goes to the network, where redirects are followed. The response
/// passes them in the opposite order, before its status is judged, it is decoded, and the hooks of the request see it.
/// An interceptor that sends a request to another origin (scheme, host or port) takes no credentials along that
/// interceptors before it added: "Authorization", "Cookie" and "Proxy-Authorization" are dropped, unless it sets them
/// to other values. Those that the request had from the beginning stay. Each attempt of a request that retries passes
/// all of them. A mock that a request type brings along stands in place of the interceptors, too.
///
/// **Threads.** `intercept` is called on a serial queue made for the call: of the first interceptor once for each
/// request, of each other one for every `send` of the one before it, on the thread that calls that; for several
/// requests at the same time. It may block, at the cost of a worker thread: for the future of
/// `HTTPInterceptorChain::send`, whatever the interceptors after it are, but not for that of a request of its own,
/// which is completed on this queue. A coroutine resumes on it.
///
/// **Lifetime.** The library keeps the interceptors until the future that they returned is completed or gone.
class CORVANE_API HTTPInterceptor {
 public:
  /// How often one request may be sent: to the network in all, and by each interceptor to the next.
  static constexpr int maximumSends = 8;

  HTTPInterceptor() = default;
  HTTPInterceptor(const HTTPInterceptor&) = delete;
  HTTPInterceptor& operator=(const HTTPInterceptor&) = delete;
  virtual ~HTTPInterceptor();

  /// Returns the future response to the request; may be a coroutine. What it throws, or the future fails with, is the
  /// error of the request. So is `HTTPInterceptorError::noResponse` when the last handle to the future is destroyed
  /// before it is completed. When the request is cancelled, or its deadline passes, the request ends at once; the
  /// future is cancelled, and its outcome is not used any more.
  virtual velisand::Future<HTTPInterceptedResponse> intercept(platform::URLRequest request,
                                                              HTTPInterceptorChain chain) = 0;

  /// An interceptor that changes the request: `change(URLRequest&)`, called on several threads at the same time.
  template <class Change>
    requires std::invocable<const Change&, platform::URLRequest&>
  static std::shared_ptr<HTTPInterceptor> changing(Change change);
  /// One that is a function: `function(URLRequest, HTTPInterceptorChain)`, which returns what `intercept` returns, or a
  /// `Task` of it. Called on several threads at the same time.
  template <class Function>
    requires std::invocable<const Function&, platform::URLRequest, HTTPInterceptorChain>
  static std::shared_ptr<HTTPInterceptor> calling(Function function);
};

namespace detail {

template <class Function>
class FunctionInterceptor final : public HTTPInterceptor {
 public:
  explicit FunctionInterceptor(Function function) : function_(std::move(function)) {}
  velisand::Future<HTTPInterceptedResponse> intercept(platform::URLRequest request,
                                                      HTTPInterceptorChain chain) override {
    return function_(std::move(request), std::move(chain));
  }

 private:
  const Function function_;
};

}  // namespace detail

template <class Function>
  requires std::invocable<const Function&, platform::URLRequest, HTTPInterceptorChain>
std::shared_ptr<HTTPInterceptor> HTTPInterceptor::calling(Function function) {
  return std::make_shared<detail::FunctionInterceptor<Function>>(std::move(function));
}

template <class Change>
  requires std::invocable<const Change&, platform::URLRequest&>
std::shared_ptr<HTTPInterceptor> HTTPInterceptor::changing(Change change) {
  return calling([change = std::move(change)](platform::URLRequest request, const HTTPInterceptorChain& chain) {
    change(request);
    return chain.send(std::move(request));
  });
}

}  // namespace corvane

/// Lets `HTTPInterceptor::intercept` be a coroutine: it is a `velisand::Task`.
template <class... Arguments>
struct std::coroutine_traits<velisand::Future<corvane::HTTPInterceptedResponse>, Arguments...> {
  using promise_type = velisand::Task<corvane::HTTPInterceptedResponse>::promise_type;
};
