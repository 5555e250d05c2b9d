#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Corvane/DebugOutput/Detail/HTTPRequestableDebugAdditions.hpp"
#include "Corvane/DebugOutput/ShellCommand.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/Describe.hpp"
#include "Corvane/Request/Detail/Misuses.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/SendFuture.hpp"
#include "Corvane/Request/Detail/SendRoute.hpp"
#include "Corvane/Request/Detail/TypedExchange.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {
struct NoResponse {};
}  // namespace detail

/// Makes a plain value a request: you say what to ask for, and get what it takes to ask.
///
/// Each requirement may be stored (a data member), computed (a const member function without arguments) or
/// static. A wrong type, a missing requirement and many a name that is nearly one (`header`, `timeout`, a `body`
/// without a mixin for it) are refused when the request is used; other members are yours.
///
/// | you write                                      | default                                            |
/// |------------------------------------------------|----------------------------------------------------|
/// | `sharedHeaders`: `HTTPHeaders`                 | none; what all requests of a service have          |
/// | `method`: `HTTPMethod`                         | none; `HTTPGetRequestable` and its siblings set it |
/// | `baseURL`: `URL`                               | "/", which no request can be sent to               |
/// | `path`: text                                   | empty; goes after the path of `baseURL`           |
/// | `queryItems`: `HTTPQueryItems`                 | empty; otherwise they replace the base URL's query |
/// | `url`: `URL`                                   | the three above, put together                      |
/// | `headers`: `HTTPHeaders`                       | empty; they win over `sharedHeaders`               |
/// | `acceptType`: `HTTPMediaType`                  | "*/*"                                              |
/// | `timeoutInterval`: seconds or a duration       | 60 s without progress                              |
/// | `cachePolicy`: `URLRequestCachePolicy`         | `useProtocolCachePolicy`                           |
/// | `maximumBodyBytes`: a number of bytes          | 1 GiB in memory, no limit in a file                |
/// | `shouldSend`: `bool`                           | true; false ends `send` silently                   |
/// | `shouldWaitForConnectivity`: `bool`            | false                                              |
/// | `sessionConfigurationIdentifier`: text         | absent; requests that agree share a session        |
/// | `urlRequest() const`                           | all of the above, with the body if there is one    |
/// | `isAcceptable(HTTPStatus) const`               | 200 to 206; the response types accept no others    |
/// | `validate() const`                             | nothing; may throw: nothing is sent                |
/// | `validate(const Response&) const`              | `process(response)`                                |
/// | `process(const Response&) const`               | nothing; may throw: the response becomes a failure |
///
/// | you get                                        |                                                    |
/// |------------------------------------------------|----------------------------------------------------|
/// | `send(queue, completion)`, `send(completion)`  | the response, once, on the queue (default: main)   |
/// | `send()`                                       | a `Future<HTTPResponse<…>>`                        |
/// | `createURL()`, `urlRequest()`, `curlCommand()` | what would be sent                                 |
///
///     struct GetUser : HTTPGetRequestable<GetUser, DataResponse> {
///       std::string login;
///       URL baseURL = "https://api.example.com";
///       std::string path() const { return "/users/" + login; }
///       HTTPHeaders sharedHeaders() const { return {{"X-App", "1"}}; }
///     };
///
///     const auto response = GetUser{.login = "ada"}.send().get();
///
/// A type may declare a `send(queue, completion)` of its own; the future form honours it (of a download or an upload
/// `send(queue, progress, completion)`). So that it does not
/// hide the other forms, write `using HTTPGetRequestable::send;` beside it.
template <class Self, class ResponseType = detail::NoResponse>
class CORVANE_API HTTPRequestable {
  static_assert(!std::same_as<ResponseType, detail::NoResponse>,
                "A request names its response type: `HTTPRequestable<Self, DataResponse>`");

 public:
  /// The type that the completion is given.
  using Response = ResponseType;
  /// What the response holds on success, and the future form delivers.
  using ResponseBody = detail::BodyOf<ResponseType>;
  /// Called once for each send, on the completion queue.
  using Completion = platform::UniqueFunction<void(Response)>;

  /// Holds the type to be the one that the mixin was given, when the first value is made.
  constexpr HTTPRequestable() noexcept(detail::checkPublicSelf<Self, HTTPRequestable>()) {}

  /// False ends `send` before it begins: nothing is sent, and no completion is called. Default: true.
  bool shouldSend() const { return true; }
  /// How the response may come from a cache. Default: `useProtocolCachePolicy`; there is no cache.
  platform::URLRequestCachePolicy cachePolicy() const { return detail::defaultURLRequest().cachePolicy; }
  /// Seconds without progress after which the request fails with -1001; a `std::chrono` duration will do. Default:
  /// 60.
  double timeoutInterval() const { return detail::defaultURLRequest().timeoutInterval; }
  /// How many bytes the body of the response may have, decoded from its content codings; beyond that the request fails
  /// with -1103. Default: absent, which is 1 GiB in memory and no limit for a download.
  std::optional<std::int64_t> maximumBodyBytes() const { return std::nullopt; }
  /// Whether the request waits while there is no network, instead of failing. Default: false.
  bool shouldWaitForConnectivity() const { return false; }
  /// Header fields of this request; they win over `sharedHeaders`. Default: none.
  HTTPHeaders headers() const { return {}; }
  /// Never fails: the default base URL stands for a URL that cannot be composed.
  platform::URL url() const { return detail::reportedURL(target()); }
  /// Where the service is. Default: "/", which no request can be sent to.
  platform::URL baseURL() const { return detail::defaultBaseURL(); }
  /// What goes after the path of `baseURL`, set off by one slash. Default: empty.
  std::string path() const { return {}; }
  /// The query, which replaces that of `baseURL` when it is not empty. Default: empty.
  HTTPQueryItems queryItems() const { return {}; }
  /// What the request asks for, in "Accept". Default: any type.
  HTTPMediaType acceptType() const { return HTTPMediaType::any; }
  /// Requests that agree in it, and in `shouldWaitForConnectivity`, share connections and cookies. Default: absent.
  std::optional<std::string> sessionConfigurationIdentifier() const { return std::nullopt; }

  /// What is sent. Throws `HTTPRequestError::malformedURL` and what the body and its encoder throw.
  platform::URLRequest urlRequest() const;
  /// Whether a response with this status may be a success. Default: 200 to 206. The library's response types are
  /// failures for all others, whatever this says.
  bool isAcceptable(HTTPStatus status) const { return isSuccess(status); }
  /// Called on the caller's thread before anything is sent. What it throws becomes the outcome. Default: nothing.
  void validate() const {}
  /// Called when the response was made, on the queue that makes it. What it throws turns a success into a failure.
  /// Default: calls `process`.
  void validate(const Response& response) const { self().process(response); }
  /// For a look at each response, such as keeping a token; throws like `validate`. Default: nothing.
  void process(const Response&) const {}

  /// Sends the request. Any thread; returns at once, and never calls the completion itself. Throws nothing, but for
  /// `std::bad_alloc` where there is no memory even to tell of an error: the completion is not called then. Whatever
  /// else the outcome, the completion gets it as a response, once, asynchronously on the queue (absent: the main
  /// queue). An empty completion is not called. Nothing at all happens when `shouldSend` is false. Where the response
  /// comes from depends on the behaviours that the type adopts: the network, a mock, or the shared polling of the type.
  void send(std::optional<platform::DispatchQueue> queue, Completion completion) const;
  /// The same, with the completion on the main queue.
  void send(Completion completion) const;
  /// Sends the request. The future is completed on the caller's queue, where there is one, with the body and
  /// the facts of the response, or fails with the response's error, or with `HTTPResponseError::noContent`
  /// when there is neither error nor body. It stays open when `shouldSend` is false. `Future::cancel` cancels the
  /// request, as does cancelling a `Task` that awaits it; no `HTTPRequestCancelable` is needed for that.
  velisand::Future<HTTPResponse<ResponseBody>> send() const;

  // Chosen for what is no completion; does not compile.
  template <class Refused = Self>
  void send(detail::NoCompletion<Completion>) const {}
  template <class Refused = Self>
  void send(std::optional<platform::DispatchQueue>, detail::NoCompletion<Completion>) const {}
  /// Does not compile: a request is sent to be awaited, `co_await request.send()`.
  template <class Refused = Self>
  detail::NoAwaiter operator co_await() const {
    static_assert(detail::isNothing<Refused>, "A request is sent to be awaited: write `co_await request.send()`");
    return {};
  }

  // What follows is the same for every request; a member of the same name in a request type changes nothing.

  /// The URL to be sent to. Throws `HTTPRequestError::malformedURL` when there is none, or none but "/".
  platform::URL createURL() const { return detail::createURL(target()); }
  /// The URL's parts run together, for messages. It is not the URL that is sent.
  std::string urlString() const { return detail::urlString(target()); }
  /// The request without its body. Throws what `createURL` throws.
  platform::URLRequest generateRequest() const;
  /// The status of the response as this request judges it; a response that is absent or not HTTP is not acceptable.
  bool isAcceptable(const platform::URLResponse* response) const {
    const auto status = detail::httpStatus(response);
    return status && self().isAcceptable(*status);
  }

  /// The plain route: validates, builds the URL request, and loads it on a session. As `send` otherwise.
  void sendToNetwork(std::optional<platform::DispatchQueue> queue, Completion completion) const;
  /// For custom routes: continues with the outcome of a finished task.
  void processTaskCompletion(std::optional<platform::Data> data, std::optional<platform::URL> url,
                             std::shared_ptr<const platform::URLResponse> response,
                             std::optional<platform::Error> error, std::optional<platform::DispatchQueue> queue,
                             Completion completion) const;
  /// For custom routes: delivers a response that holds nothing but an error.
  void report(platform::Error error, std::optional<platform::DispatchQueue> queue, Completion completion) const;

  /// For custom routes of your own: from now on `cancel()` of an `HTTPRequestCancelable` reaches the task. Does nothing
  /// for other requests.
  void insertTaskIntoTaskManager(std::shared_ptr<platform::URLSessionTask> task) const;
  /// For custom routes of your own: `cancel()` reaches no task of this request any more.
  void removeFromTaskManager() const;

  /// The words of a command line human-readable that shows the request: its URL and its own headers, not quoted for a
  /// shell. Traps when
  /// the request has no URL.
  std::vector<std::string> _curlCommand() const;
  /// Those words, and a summary of the body where there is one; of a file that is uploaded, its path. For logs.
  /// Never paste it into a shell, which would run what a header value holds in backquotes or `$(…)`: run
  /// `shellCommand`, which quotes everything. Traps when the request has no URL.
  std::string curlCommand() const;
  /// A command line for a POSIX shell that sends exactly this request. Throws what `urlRequest` throws, and
  /// "NSURLErrorDomain" -1000 for a request that would be refused. A file that is uploaded is not read.
  ShellCommand shellCommand(const ShellCommandOptions& options = {}) const;
  /// The request as a human-readable line: `curlCommand()`.
  std::string debugDescription() const { return detail::read(&Self::curlCommand, self()); }
  /// Logs an exchange as `Corvane::verbosity` says. Called once for each exchange, before its delivery.
  void printDebugOutput(const std::optional<platform::Error>& error, const Response& response,
                        const std::optional<platform::Data>& data) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }

  detail::URLDescription target() const;
  std::shared_ptr<detail::SendExchange> exchange(std::optional<platform::DispatchQueue> queue,
                                                 Completion completion) const;
  std::optional<platform::Data> bodyForDebugOutput() const;
};

// Defined out of the class, so that the library's own request types are compiled once, in the library.

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::send(std::optional<platform::DispatchQueue> queue,
                                               Completion completion) const {
  if constexpr (detail::isValidRequest<Self>) {
    if constexpr (detail::Transfers<Self>) {
      self().send(std::move(queue), nullptr, std::move(completion));
    } else {
      detail::dispatchSend(self(), std::move(queue), std::move(completion));
    }
  }
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::send(Completion completion) const {
  self().send(platform::DispatchQueue::main(), std::move(completion));
}

template <class Self, class ResponseType>
auto HTTPRequestable<Self, ResponseType>::send() const -> velisand::Future<HTTPResponse<ResponseBody>> {
  auto outcome = detail::SendFuture<Response>::make();
  const SendCancellation::Scope scope(outcome.cancellation);
  self().send(std::move(outcome.queue), std::move(outcome.completion));
  return std::move(outcome.future);
}

template <class Self, class ResponseType>
platform::URLRequest HTTPRequestable<Self, ResponseType>::urlRequest() const {
  platform::URLRequest request = generateRequest();
  if constexpr (detail::CarriesBody<Self>) {
    if constexpr (detail::checkBody<Self>()) detail::addBody(request, detail::describeBody(self()));
  }
  return request;
}

template <class Self, class ResponseType>
platform::URLRequest HTTPRequestable<Self, ResponseType>::generateRequest() const {
  if constexpr (detail::isValidRequest<Self>) return detail::composedRequest(detail::describe(self()));
  detail::unreachable();
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::sendToNetwork(std::optional<platform::DispatchQueue> queue,
                                                        Completion completion) const {
  if (auto sent = exchange(std::move(queue), std::move(completion))) detail::sendToNetwork(std::move(sent));
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::processTaskCompletion(std::optional<platform::Data> data,
                                                                std::optional<platform::URL> url,
                                                                std::shared_ptr<const platform::URLResponse> response,
                                                                std::optional<platform::Error> error,
                                                                std::optional<platform::DispatchQueue> queue,
                                                                Completion completion) const {
  auto finished = exchange(std::move(queue), std::move(completion));
  if (!finished) return;
  detail::processTaskCompletion(std::move(finished),
                                {std::move(data), std::move(url), std::move(response), std::move(error)});
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::report(platform::Error error, std::optional<platform::DispatchQueue> queue,
                                                 Completion completion) const {
  if (auto failed = exchange(std::move(queue), std::move(completion)))
    detail::report(std::move(failed), std::move(error));
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::insertTaskIntoTaskManager(
    std::shared_ptr<platform::URLSessionTask> task) const {
  if constexpr (Cancelable<Self>) detail::insertTask(std::move(task), detail::read(&Self::uuid, self()));
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::removeFromTaskManager() const {
  if constexpr (Cancelable<Self>) detail::removeTask(detail::read(&Self::uuid, self()));
}

template <class Self, class ResponseType>
std::vector<std::string> HTTPRequestable<Self, ResponseType>::_curlCommand() const {
  return detail::curlCommandParts(HTTPMethod(detail::read(&Self::method, self())).rawValue,
                                  detail::urlForDebugOutput(target()), detail::read(&Self::headers, self()));
}

template <class Self, class ResponseType>
std::string HTTPRequestable<Self, ResponseType>::curlCommand() const {
  auto parts = _curlCommand();
  if constexpr (detail::UploadsFile<Self>) {
    parts.push_back(detail::curlFilePart(velisand::fileURL(detail::read(&Self::body, self()))));
  } else if constexpr (detail::CarriesBody<Self>) {
    parts.push_back(detail::curlBodyPart(bodyForDebugOutput()));
  }
  return detail::joinedWithSpaces(parts);
}

template <class Self, class ResponseType>
ShellCommand HTTPRequestable<Self, ResponseType>::shellCommand(const ShellCommandOptions& options) const {
  if constexpr (detail::UploadsFile<Self>) {
    return detail::shellCommand(self().urlRequest(), velisand::fileURL(detail::read(&Self::body, self())), options);
  } else {
    return detail::shellCommand(self().urlRequest(), options);
  }
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::printDebugOutput(const std::optional<platform::Error>& error,
                                                           const Response& response,
                                                           const std::optional<platform::Data>& data) const {
  const auto level = detail::currentVerbosity();
  if (level == HTTPVerbosityLevel::none) return;
  const bool isVerbose = level == HTTPVerbosityLevel::verbose;
  detail::printDebugOutput(level, {.method = HTTPMethod(detail::read(&Self::method, self())).rawValue,
                                   .url = detail::urlForDebugOutput(target()),
                                   .curlCommand = isVerbose ? debugDescription() : std::string(),
                                   .status = detail::read(&Response::status, response),
                                   .headers = detail::read(&Response::headers, response),
                                   .body = data,
                                   .error = error});
}

template <class Self, class ResponseType>
detail::URLDescription HTTPRequestable<Self, ResponseType>::target() const {
  if constexpr (detail::checkTarget<Self>()) return detail::describeURL(self());
  detail::unreachable();
}

template <class Self, class ResponseType>
std::shared_ptr<detail::SendExchange> HTTPRequestable<Self, ResponseType>::exchange(
    std::optional<platform::DispatchQueue> queue, Completion completion) const {
  return detail::TypedExchange<Self>::make(self(), std::move(queue), std::move(completion));
}

// What cannot be made is shown as absent: debug output reports on a request, it does not judge it.
template <class Self, class ResponseType>
std::optional<platform::Data> HTTPRequestable<Self, ResponseType>::bodyForDebugOutput() const {
  if constexpr (detail::CarriesBody<Self>) {
    try {
      if constexpr (detail::checkBody<Self>()) return detail::describeBody(self()).bytes;
    } catch (...) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace corvane
