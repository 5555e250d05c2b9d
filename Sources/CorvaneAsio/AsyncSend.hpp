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

/// The starter is called with the outcome and its stop, maybe several times, where the token keeps the operation for
/// later.
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
  using Value = Result;

  void operator()(Outcome<Result>& outcome, Result result) const { outcome.complete(nullptr, std::move(result)); }
  void operator()(Outcome<Result>& outcome) const { outcome.complete(exceptionOf(cancelled()), empty()); }

  static Result empty() {
    if constexpr (requires { Result::totalFailure({}); }) {
      return Result::totalFailure({});
    } else if constexpr (HTTPResponsable<Result>) {
      return Result(std::nullopt, std::nullopt, nullptr, cancelled());
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

/// What a send is started with: the caller's options, with the stop of the operation beside theirs, and a queue in
/// place of theirs.
inline SendOptions optionsOf(const SendOptions& options, std::stop_token stop, platform::DispatchQueue queue) {
  SendOptions all{.queue = std::move(queue),
                  .stop = std::move(stop),
                  .progress = options.progress,
                  .connectTimeout = options.connectTimeout};
  if (!options.stop.stop_possible() && !options.deadline) return all;
  const auto bounds = detail::SendBounds::add(detail::SendBounds::by(std::move(all.stop)), options);
  SendOptions joined = detail::SendBounds::options(bounds, std::move(all.queue));
  joined.progress = std::move(all.progress);
  return joined;
}

template <class Translation, class Request>
auto starterOf(Request request, SendOptions options) {
  using Value = typename Translation::Value;
  return [request = std::move(request), options = std::move(options)](std::shared_ptr<Outcome<Value>> outcome,
                                                                      std::stop_token stop) {
    // Handlers of a polling type and of progress are called on the queue, before the completion.
    const bool isQueued = detail::Polls<Request> || options.progress;
    auto queue = isQueued ? queueOf(outcome) : velisand::inlineExecutor();
    request.send(optionsOf(options, std::move(stop), std::move(queue)), Completion(std::move(outcome), Translation()));
  };
}

template <class Requests>
using ResponsesTo = std::vector<typename detail::RequestOf<Requests>::Response>;

template <class Requests>
auto batchStarterOf(const Requests& requests, SendOptions options, HTTPBatchMode mode) {
  using Responses = ResponsesTo<Requests>;
  return [requests = detail::collected(requests), options = std::move(options), mode](
             std::shared_ptr<Outcome<Responses>> outcome, std::stop_token stop) {
    auto queue = options.progress ? queueOf(outcome) : velisand::inlineExecutor();
    send(requests, optionsOf(options, std::move(stop), std::move(queue)), mode, {},
         Completion(std::move(outcome), OfResult<Responses>()));
  };
}

template <class Request>
using RetryResultOf = HTTPRetryResult<typename Request::Response>;

template <class Request>
auto retryStarterOf(Request request, SendOptions options) {
  using Result = RetryResultOf<Request>;
  return [request = std::move(request), options = std::move(options)](std::shared_ptr<Outcome<Result>> outcome,
                                                                      std::stop_token stop) {
    auto queue = options.progress ? queueOf(outcome) : velisand::inlineExecutor();
    request.sendAttemptingRetry(optionsOf(options, std::move(stop), std::move(queue)),
                                Completion(std::move(outcome), OfResult<Result>()));
  };
}

template <class Request>
using OfWholeResponse = OfResult<typename Request::Response>;

using DefaultExecutor = CORVANE_ASIO::system_executor;

template <class Translation, class Target, class Request, class Token>
decltype(auto) sendRequest(Target& target, const Request& request, SendOptions options, Token&& token) {
  return initiate<typename Translation::Value>(executorOf(target), std::forward<Token>(token),
                                               starterOf<Translation>(request, std::move(options)));
}

}  // namespace asio_detail

/// Sends a request as an asynchronous operation of Asio, with any completion token: a callback, `use_future`,
/// `use_awaitable`, `deferred`, and adapters of these. The signature is `void(std::exception_ptr, HTTPResponse<Body>)`.
///
///     const GetUser request{.login = "ada"};
///     const auto response = co_await async_send(request, asio::use_awaitable);
///     async_send(context, request, [](std::exception_ptr error, HTTPResponse<User> response) { … });
///
/// - **Failures** are the `Error` that `co_await request.send()` would throw. The response that accompanies an error
///   has the known facts (status, headers, `data`), and an empty body: a `Body()`, or the root folder for the `URL` of
///   a file.
/// - **The handler** is called once, never inside this function, on its associated executor. A handler without one runs
///   on the executor or context that is the first argument, or else on Asio's system executor, which has threads of its
///   own. That executor has work until then, so `run()` does not return. An exception from the handler leaves `run()`.
///   The handler's memory comes from its associated allocator. A polling request calls its polling handlers on that
///   executor, too, before this handler.
/// - **Cancellation** through the handler's slot cancels the request, for the types `terminal` and `partial` (and thus
///   `all`). The request then fails with `HTTPResponseError::taskCancelled`, unless it was faster; the server may have
///   processed it. As Asio requires, a slot must not be used on two threads at a time.
/// - **When the context is destroyed** first, the request is cancelled, and the handler destroyed without being called.
/// - A request whose `shouldSend` is false fails with `taskCancelled`, too.
template <asio_detail::IsExecutorOrContext Target, AnyRequest Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(Target&& target, const Request& request, Token&& token) {
  return asio_detail::sendRequest<asio_detail::OfResponse<Request>>(target, request, {}, std::forward<Token>(token));
}
template <AnyRequest Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(const Request& request, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), request, std::forward<Token>(token));
}

/// The same with options by name: `async_send(context, request, {.deadline = 5s}, token)`. Their stop cancels the
/// request as the slot of the handler does. A progress handler is called on the executor of the completion handler, one
/// call at a time, never after it. Their queue is not used.
template <asio_detail::IsExecutorOrContext Target, AnyRequest Request, std::same_as<SendOptions> Options = SendOptions,
          class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(Target&& target, const Request& request, Options options, Token&& token) {
  return asio_detail::sendRequest<asio_detail::OfResponse<Request>>(target, request, std::move(options),
                                                                    std::forward<Token>(token));
}
template <AnyRequest Request, std::same_as<SendOptions> Options = SendOptions, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(const Request& request, Options options, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), request, std::move(options), std::forward<Token>(token));
}

/// The same with the response itself. The signature is `void(std::exception_ptr, Response)`. Failures are in the
/// response; there is an error only for a request whose `shouldSend` is false.
template <asio_detail::IsExecutorOrContext Target, AnyRequest Request, class Token>
decltype(auto) async_send(Target&& target, const Request& request, WholeResponse, Token&& token) {
  return asio_detail::sendRequest<asio_detail::OfWholeResponse<Request>>(target, request, {},
                                                                         std::forward<Token>(token));
}
template <AnyRequest Request, class Token>
decltype(auto) async_send(const Request& request, WholeResponse, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), request, wholeResponse, std::forward<Token>(token));
}
template <asio_detail::IsExecutorOrContext Target, AnyRequest Request, std::same_as<SendOptions> Options = SendOptions,
          class Token>
decltype(auto) async_send(Target&& target, const Request& request, Options options, WholeResponse, Token&& token) {
  return asio_detail::sendRequest<asio_detail::OfWholeResponse<Request>>(target, request, std::move(options),
                                                                         std::forward<Token>(token));
}
template <AnyRequest Request, std::same_as<SendOptions> Options = SendOptions, class Token>
decltype(auto) async_send(const Request& request, Options options, WholeResponse, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), request, std::move(options), wholeResponse,
                    std::forward<Token>(token));
}

/// The same for a download or an upload, with its progress. The progress handler is called on the executor of the
/// completion handler, one call at a time, never after the completion handler. It must not throw.
template <asio_detail::IsExecutorOrContext Target, detail::Transfers Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(Target&& target, const Request& request, HTTPProgressHandler progress, Token&& token) {
  return asio_detail::sendRequest<asio_detail::OfResponse<Request>>(
      target, request, SendOptions{.progress = std::move(progress)}, std::forward<Token>(token));
}
template <detail::Transfers Request, class Token>
  requires(asio_detail::checkBody<Request>())
decltype(auto) async_send(const Request& request, HTTPProgressHandler progress, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), request, std::move(progress), std::forward<Token>(token));
}

/// The same for a batch (see `send`). The signature is `void(std::exception_ptr, std::vector<Response>)`. Failures are
/// in the responses; there is an error only if there is no list, for example because of a request with a false
/// `shouldSend`.
template <asio_detail::IsExecutorOrContext Target, detail::RequestRange Requests,
          std::same_as<SendOptions> Options = SendOptions, class Token>
decltype(auto) async_send(Target&& target, const Requests& requests, Options options, HTTPBatchMode mode,
                          Token&& token) {
  return asio_detail::initiate<asio_detail::ResponsesTo<Requests>>(
      asio_detail::executorOf(target), std::forward<Token>(token),
      asio_detail::batchStarterOf(requests, std::move(options), mode));
}
template <detail::RequestRange Requests, std::same_as<SendOptions> Options = SendOptions, class Token>
decltype(auto) async_send(const Requests& requests, Options options, HTTPBatchMode mode, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), requests, std::move(options), mode, std::forward<Token>(token));
}
template <asio_detail::IsExecutorOrContext Target, detail::RequestRange Requests, class Token>
decltype(auto) async_send(Target&& target, const Requests& requests, HTTPBatchMode mode, Token&& token) {
  return async_send(target, requests, SendOptions(), mode, std::forward<Token>(token));
}
template <detail::RequestRange Requests, class Token>
decltype(auto) async_send(const Requests& requests, HTTPBatchMode mode, Token&& token) {
  return async_send(asio_detail::DefaultExecutor(), requests, SendOptions(), mode, std::forward<Token>(token));
}

/// The same for a retrying send (see `HTTPRetryAttempting`). A cancellation ends the whole send at once. The signature
/// is `void(std::exception_ptr, HTTPRetryResult<Response>)`; failures are in the result.
template <asio_detail::IsExecutorOrContext Target, detail::Retries Request,
          std::same_as<SendOptions> Options = SendOptions, class Token>
decltype(auto) async_send_attempting_retry(Target&& target, const Request& request, Options options, Token&& token) {
  return asio_detail::initiate<asio_detail::RetryResultOf<Request>>(
      asio_detail::executorOf(target), std::forward<Token>(token),
      asio_detail::retryStarterOf(request, std::move(options)));
}
template <detail::Retries Request, std::same_as<SendOptions> Options = SendOptions, class Token>
decltype(auto) async_send_attempting_retry(const Request& request, Options options, Token&& token) {
  return async_send_attempting_retry(asio_detail::DefaultExecutor(), request, std::move(options),
                                     std::forward<Token>(token));
}
template <asio_detail::IsExecutorOrContext Target, detail::Retries Request, class Token>
decltype(auto) async_send_attempting_retry(Target&& target, const Request& request, Token&& token) {
  return async_send_attempting_retry(target, request, SendOptions(), std::forward<Token>(token));
}
template <detail::Retries Request, class Token>
decltype(auto) async_send_attempting_retry(const Request& request, Token&& token) {
  return async_send_attempting_retry(asio_detail::DefaultExecutor(), request, SendOptions(),
                                     std::forward<Token>(token));
}

}  // namespace CORVANE_ASIO_ADAPTER
}  // namespace corvane

#endif
