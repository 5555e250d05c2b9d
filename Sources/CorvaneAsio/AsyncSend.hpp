// A part of Asio.hpp and BoostAsio.hpp, which say what CORVANE_ASIO is; empty by itself.
#ifdef CORVANE_ASIO

namespace corvane {
inline namespace CORVANE_ASIO_ADAPTER {
namespace asio_detail {

template <class Target>
concept IsExecutorOrContext = IsExecutor<std::remove_cvref_t<Target>> || IsContext<std::remove_cvref_t<Target>>;

template <IsExecutor Executor>
Executor executorOf(const Executor& executor) {
  return executor;
}
template <IsContext Context>
auto executorOf(Context& context) {
  return context.get_executor();
}

/// What Asio starts an operation with.
template <class Value, class Fallback, class Starter>
struct Initiation {
  using executor_type = Fallback;
  executor_type get_executor() const noexcept { return fallback; }

  template <class Handler>
  void operator()(Handler&& handler) const {
    begin<Value, std::decay_t<Handler>>(std::forward<Handler>(handler), fallback, starter);
  }

  Fallback fallback;
  Starter starter;
};

/// The starter is called with the outcome, maybe several times, where the token keeps the operation for later.
template <class Value, class Fallback, class Token, class Starter>
decltype(auto) initiate(const Fallback& fallback, Token&& token, Starter starter) {
  return CORVANE_ASIO::async_initiate<Token, void(std::exception_ptr, Value)>(
      Initiation<Value, Fallback, Starter>{fallback, std::move(starter)}, token);
}

/// What stands beside an error.
template <class Body>
Body emptyBody() {
  if constexpr (std::same_as<Body, platform::URL>) {
    return platform::URL("/");
  } else {
    return Body();
  }
}
template <class Request>
constexpr bool checkBody() {
  using Body = typename Request::ResponseBody;
  static_assert(std::default_initializable<Body> || std::same_as<Body, platform::URL>,
                "async_send calls its handler with an empty body beside an error, so the type of the body must have a "
                "default constructor");
  return true;
}
template <class Request>
using ResponseTo = HTTPResponse<typename Request::ResponseBody>;

/// The error of the response, or else its body.
template <class Request>
struct OfResponse {
  using Response = typename Request::Response;
  using Body = typename Request::ResponseBody;
  using Value = ResponseTo<Request>;

  void operator()(Outcome<Value>& outcome, Response response) const {
    auto&& result = detail::storedOrRead(&Response::result, response);
    if (const auto* error = result.error()) {
      outcome.complete(exceptionOf(*error), Value(response, emptyBody<Body>()));
    } else if (auto* body = result.body()) {
      outcome.complete(nullptr, Value(response, std::move(*body)));
    } else {
      outcome.complete(exceptionOf(HTTPResponseError::noContent()), Value(response, emptyBody<Body>()));
    }
  }
  void operator()(Outcome<Value>& outcome) const {
    (*this)(outcome, Response(std::nullopt, std::nullopt, nullptr, cancelled()));
  }
};

/// What it is, without an error of its own.
template <class Result>
struct OfResult {
  void operator()(Outcome<Result>& outcome, Result result) const { outcome.complete(nullptr, std::move(result)); }
  void operator()(Outcome<Result>& outcome) const { outcome.complete(exceptionOf(cancelled()), empty()); }

  static Result empty() {
    if constexpr (requires { Result::totalFailure({}); }) {
      return Result::totalFailure({});
    } else {
      return {};
    }
  }
};

/// A serial queue on the executor of the handler, for what is told before the handler is called.
template <class Value>
platform::DispatchQueue queueOf(const std::shared_ptr<Outcome<Value>>& outcome) {
  return {"corvane.asio", [outcome](platform::Block drain) { outcome->submit(std::move(drain)); }};
}

template <class Request>
auto starterOf(Request request) {
  return [request = std::move(request)](std::shared_ptr<Outcome<ResponseTo<Request>>> outcome) {
    // The handlers of a polling type are called on the queue, before the completion.
    auto queue = detail::Polls<Request> ? queueOf(outcome) : velisand::inlineExecutor();
    request.send(std::move(queue), Completion(std::move(outcome), OfResponse<Request>()));
  };
}

template <class Request>
auto starterOf(Request request, HTTPProgressHandler progress) {
  return [request = std::move(request),
          progress = std::move(progress)](std::shared_ptr<Outcome<ResponseTo<Request>>> outcome) {
    auto queue = queueOf(outcome);
    request.send(std::move(queue), progress, Completion(std::move(outcome), OfResponse<Request>()));
  };
}

template <class Requests>
using ResponsesTo = std::vector<typename detail::RequestOf<Requests>::Response>;

template <class Requests>
auto starterOf(const Requests& requests, HTTPBatchMode mode) {
  using Responses = ResponsesTo<Requests>;
  return [requests = detail::collected(requests), mode](std::shared_ptr<Outcome<Responses>> outcome) {
    send(requests, velisand::inlineExecutor(), mode, {}, Completion(std::move(outcome), OfResult<Responses>()));
  };
}

template <class Request>
using RetryResultOf = HTTPRetryResult<typename Request::Response>;

template <class Request>
auto retryStarterOf(Request request) {
  using Result = RetryResultOf<Request>;
  return [request = std::move(request)](std::shared_ptr<Outcome<Result>> outcome) {
    request.sendAttemptingRetry(velisand::inlineExecutor(), Completion(std::move(outcome), OfResult<Result>()));
  };
}

using DefaultExecutor = CORVANE_ASIO::system_executor;

}  // namespace asio_detail

/// Sends a request as an asynchronous operation of Asio's, for any completion token: a callback, `use_future`,
/// `use_awaitable`, `deferred`, and what adapts them. The signature is `void(std::exception_ptr, HTTPResponse<Body>)`.
///
///     const GetUser request{.login = "ada"};
///     const auto response = co_await async_send(request, asio::use_awaitable);
///     async_send(context, request, [](std::exception_ptr error, HTTPResponse<User> response) { … });
///
/// - **Failures** are what `co_await request.send()` would throw: an `Error`. The response beside one has what facts
///   there are (status, headers, `data`), and an empty body: a `Body()`, for a file's `URL` the root folder.
/// - **The handler** is called once, never inside this function, on its associated executor; a handler without one runs
///   on the executor or context given first, and where none was given on Asio's system executor, which has threads of
///   its own. That executor has work until then, so `run()` goes on. An exception that the handler throws comes out of
///   `run()`. Memory for the handler is that of its associated allocator. A polling request tells its handlers on that
///   executor, too, before this one.
/// - **Cancellation** by the handler's slot cancels the request, for the types `terminal` and `partial` (and so `all`);
///   it then fails with `HTTPResponseError::taskCancelled`, unless it was faster. The server may have acted on it. A
///   slot is used as Asio asks for: not on two threads at a time.
/// - **When the context is destroyed** first, the request is cancelled, and the handler destroyed without being called.
/// - A request whose `shouldSend` is false fails with `taskCancelled`, too.
template <AnyRequest Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(const Request& request, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponseTo<Request>>(
      asio_detail::DefaultExecutor(), std::forward<Token>(token), asio_detail::starterOf(request));
}
template <asio_detail::IsExecutorOrContext Target, AnyRequest Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(Target&& target, const Request& request, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponseTo<Request>>(
      asio_detail::executorOf(target), std::forward<Token>(token), asio_detail::starterOf(request));
}

/// The same for a download or an upload, with its progress, of which the handler is told on the executor of the
/// completion handler: one at a time, before that, and not any more once it was called. It must not throw.
template <detail::Transfers Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(const Request& request, HTTPProgressHandler progress, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponseTo<Request>>(
      asio_detail::DefaultExecutor(), std::forward<Token>(token), asio_detail::starterOf(request, std::move(progress)));
}
template <asio_detail::IsExecutorOrContext Target, detail::Transfers Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(Target&& target, const Request& request, HTTPProgressHandler progress, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponseTo<Request>>(asio_detail::executorOf(target),
                                                                 std::forward<Token>(token),
                                                                 asio_detail::starterOf(request, std::move(progress)));
}

/// The same for a batch (see `send`). The signature is `void(std::exception_ptr, std::vector<Response>)`; failures are
/// in the responses, and there is an error only where no list comes, as from a request that should not be sent.
template <detail::RequestRange Requests, class Token>
decltype(auto) async_send(const Requests& requests, HTTPBatchMode mode, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponsesTo<Requests>>(
      asio_detail::DefaultExecutor(), std::forward<Token>(token), asio_detail::starterOf(requests, mode));
}
template <asio_detail::IsExecutorOrContext Target, detail::RequestRange Requests, class Token>
decltype(auto) async_send(Target&& target, const Requests& requests, HTTPBatchMode mode, Token&& token) {
  return asio_detail::initiate<asio_detail::ResponsesTo<Requests>>(
      asio_detail::executorOf(target), std::forward<Token>(token), asio_detail::starterOf(requests, mode));
}

/// The same for a retrying send (see `HTTPRetryAttempting`), which a cancellation ends at once. The signature is
/// `void(std::exception_ptr, HTTPRetryResult<Response>)`; failures are in the result.
template <detail::Retries Request, class Token>
decltype(auto) async_send_attempting_retry(const Request& request, Token&& token) {
  return asio_detail::initiate<asio_detail::RetryResultOf<Request>>(
      asio_detail::DefaultExecutor(), std::forward<Token>(token), asio_detail::retryStarterOf(request));
}
template <asio_detail::IsExecutorOrContext Target, detail::Retries Request, class Token>
decltype(auto) async_send_attempting_retry(Target&& target, const Request& request, Token&& token) {
  return asio_detail::initiate<asio_detail::RetryResultOf<Request>>(
      asio_detail::executorOf(target), std::forward<Token>(token), asio_detail::retryStarterOf(request));
}

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
