#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/Detail/Describe.hpp"
#include "Corvane/Request/Detail/Misuses.hpp"
#include "Corvane/Request/Detail/RequestChecks.hpp"
#include "Corvane/Request/Detail/RequestOutput.hpp"
#include "Corvane/Request/Detail/ResponseFuture.hpp"
#include "Corvane/Request/Detail/SendFuture.hpp"
#include "Corvane/Request/Detail/SendRoute.hpp"
#include "Corvane/Request/Detail/TypedExchange.hpp"
#include "Corvane/Request/HTTPBodyRequestable.hpp"
#include "Corvane/Request/HTTPRequestDefaults.hpp"
#include "Corvane/Request/WholeResponse.hpp"
#include "Corvane/Transport/SendCompletion.hpp"
#include "Corvane/Transport/SendOptions.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {
struct NoResponse {};
}  // namespace detail

/// Makes a plain struct a request: you declare its properties, and get the functions that send it.
///
/// Each property may be stored (a data member), computed (a const member function without arguments) or static. The
/// compiler rejects a wrong type, a missing property and common misspellings (`header`, `timeout`, a `body` without a
/// mixin for it) when the request is used; other members are yours.
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
/// | `send()`                                       | a `Future<HTTPResponse<…>>`, of a success          |
/// | `send(wholeResponse)`                          | a `Future<Response>`, whatever the outcome         |
/// | `send(options, completion)`, `send(options)`   | the same with a `SendOptions`                      |
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
/// A type may declare a `send(queue, completion)` of its own (of a download or an upload `send(queue, progress,
/// completion)`), or a `send(SendOptions, Completion)`; all other forms go through it. So that it does not hide them,
/// write `using HTTPGetRequestable::send;` beside it. It goes on with `sendToNetwork`, or with the library's form of
/// the same parameters, `HTTPGetRequestable::send(…)`. The completion carries the options; see `SendCompletion`. A stop
/// or a deadline ends the call at once, whatever such a `send` does.
template <class Self, class ResponseType = detail::NoResponse>
class CORVANE_API HTTPRequestable : public HTTPRequestDefaults {
  static_assert(!std::same_as<ResponseType, detail::NoResponse>,
                "A request names its response type: `HTTPRequestable<Self, DataResponse>`");

 public:
  /// The type of the completion's argument.
  using Response = ResponseType;
  /// The body of a successful response, in the completion form and the future form.
  using ResponseBody = detail::BodyOf<ResponseType>;
  /// The completion, called once for each send, on the completion queue.
  using Completion = SendCompletion<Response>;

  /// Checks at compile time that the mixin was given the type that derives from it.
  constexpr HTTPRequestable() noexcept(detail::checkPublicSelf<Self, HTTPRequestable>()) {}

  /// The URL of the request, composed of `baseURL`, `path` and `queryItems`. Never fails: for parts that form no URL,
  /// it is the default base URL.
  platform::URL url() const { return detail::reportedURL(target()); }
  /// The request as it is sent. Throws `HTTPRequestError::malformedURL`, and exceptions from the body and its encoder.
  platform::URLRequest urlRequest() const;
  /// Whether a response with this status may be a success. Default: 200 to 206. The library's response types are
  /// failures for all other statuses, whatever this returns.
  bool isAcceptable(HTTPStatus status) const { return isSuccess(status); }
  /// Called on the caller's thread before anything is sent. An exception becomes the error of the response. Default:
  /// does nothing.
  void validate() const {}
  /// Called once when the response has been built, on the queue that builds it. An exception turns a success into a
  /// failure. Default: calls `process`.
  void validate(const Response& response) const { self().process(response); }
  /// Called for each response, for example to store a token; may throw like `validate`. Default: does nothing.
  void process(const Response&) const {}

  /// Sends the request. May be called on any thread; returns at once, and does not call the completion itself. The
  /// completion gets every outcome as a response, once, asynchronously on the queue (absent: the main queue). Throws
  /// only `std::bad_alloc`, when there is no memory even to report an error; the completion is then not called. An
  /// empty completion is not called. Does nothing when `shouldSend` is false. The behaviours of the type determine the
  /// source of the response: the network, a mock, or the shared polling of the type.
  void send(std::optional<platform::DispatchQueue> queue, Completion completion) const;
  /// The same, with the completion on the main queue.
  void send(Completion completion) const;
  /// Sends the request. The future is completed on the caller's queue, if there is one, with the body and the facts of
  /// the response. It fails with the response's error, or with `HTTPResponseError::noContent` for a success without a
  /// body. It is never completed when `shouldSend` is false. `Future::cancel` cancels the request, and so does
  /// cancelling a `Task` that awaits it; this does not need `HTTPRequestCancelable`.
  velisand::Future<HTTPResponse<ResponseBody>> send() const;
  /// The same with options by name: `send({.queue = queue, .deadline = 5s}, completion)`. A template only so that
  /// braces without names keep their meaning.
  template <std::same_as<SendOptions> Options = SendOptions>
  void send(Options options, Completion completion) const {
    sendBounded(std::move(options), std::move(completion));
  }
  template <std::same_as<SendOptions> Options = SendOptions>
  velisand::Future<HTTPResponse<ResponseBody>> send(Options options) const {
    return sendForFuture(options);
  }
  /// Sends the request. The future is completed on the caller's queue, if there is one, with the response itself, which
  /// has every outcome in its `result`: it does not fail. Otherwise the same as the future form without
  /// `wholeResponse`. A transfer tells its progress to the handler of the options.
  velisand::Future<Response> send(WholeResponse) const { return sendForResponse({}); }
  template <std::same_as<SendOptions> Options = SendOptions>
  velisand::Future<Response> send(Options options, WholeResponse) const {
    return sendForResponse(std::move(options));
  }

  // Chosen for what is no completion; does not compile.
  template <class Refused = Self>
  void send(detail::NoCompletion<Completion>) const {}
  template <class Refused = Self>
  void send(std::optional<platform::DispatchQueue>, detail::NoCompletion<Completion>) const {}
  template <std::same_as<SendOptions> Options = SendOptions>
  void send(Options, detail::NoCompletion<Completion>) const {}
  /// Does not compile: await the send, `co_await request.send()`.
  template <class Refused = Self>
  detail::NoAwaiter operator co_await() const {
    static_assert(detail::isNothing<Refused>, "A request is sent to be awaited: write `co_await request.send()`");
    return {};
  }

  // What follows is the same for every request; a member of the same name in a request type changes nothing.

  /// The URL that the request is sent to. Throws `HTTPRequestError::malformedURL` when there is no URL, or only "/".
  platform::URL createURL() const { return detail::createURL(target()); }
  /// The concatenated parts of the URL, for messages. It is not the URL that is sent.
  std::string urlString() const { return detail::urlString(target()); }
  /// The request without its body. Throws what `createURL` throws.
  platform::URLRequest generateRequest() const;
  /// Checks the status of the response with `isAcceptable`. An absent or non-HTTP response is not acceptable.
  bool isAcceptable(const platform::URLResponse* response) const {
    const auto status = detail::httpStatus(response);
    return status && self().isAcceptable(*status);
  }

  /// The default route: validates, builds the URL request, and loads it on a session. Otherwise the same as `send`.
  void sendToNetwork(std::optional<platform::DispatchQueue> queue, Completion completion) const;
  template <std::same_as<SendOptions> Options = SendOptions>
  void sendToNetwork(Options options, Completion completion) const {
    completion.add(options);
    sendToNetwork(std::move(options.queue), std::move(completion));
  }
  /// For custom routes: processes the outcome of a finished task.
  void processTaskCompletion(std::optional<platform::Data> data, std::optional<platform::URL> url,
                             std::shared_ptr<const platform::URLResponse> response,
                             std::optional<platform::Error> error, std::optional<platform::DispatchQueue> queue,
                             Completion completion) const;
  /// For custom routes: delivers a response that only has an error.
  void report(platform::Error error, std::optional<platform::DispatchQueue> queue, Completion completion) const;

  /// For custom routes: from now on `cancel()` of an `HTTPRequestCancelable` cancels the task. Does nothing for other
  /// requests.
  void insertTaskIntoTaskManager(std::shared_ptr<platform::URLSessionTask> task) const;
  /// For custom routes: from now on `cancel()` does not cancel a task of this request.
  void removeFromTaskManager() const;

  /// The words of a command line, for people, that shows the request: its URL and its own headers, not quoted for a
  /// shell. Traps when the request has no URL.
  std::vector<std::string> _curlCommand() const;
  /// These words, and a summary of the body if there is one, or the path of an uploaded file. For logs. Never paste it
  /// into a shell, which would run text in backquotes or `$(…)` in a header value; `shellCommand` quotes everything.
  /// Traps when the request has no URL.
  std::string curlCommand() const;
  /// A command line for a POSIX shell that sends exactly this request. Throws what `urlRequest` throws, and
  /// "NSURLErrorDomain" -1000 for a request that would be refused. Does not read an uploaded file. Who includes single
  /// headers needs "Corvane/DebugOutput/ShellCommand.hpp" to call it.
  template <class Command = ShellCommand, class Options = ShellCommandOptions>
  Command shellCommand(const std::type_identity_t<Options>& options = {}) const;
  /// The request as a human-readable line: `curlCommand()`.
  std::string debugDescription() const { return detail::requirement::curlCommand(self()); }
  /// Logs an exchange at the level of `Corvane::verbosity`. Called once for each exchange, before its delivery.
  void printDebugOutput(const std::optional<platform::Error>& error, const Response& response,
                        const std::optional<platform::Data>& data) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }

  void sendBounded(SendOptions options, Completion completion) const;
  velisand::Future<HTTPResponse<ResponseBody>> sendForFuture(const SendOptions& options) const;
  velisand::Future<Response> sendForResponse(SendOptions options) const;
  detail::URLDescription target() const;
  std::shared_ptr<detail::SendExchange> exchange(std::optional<platform::DispatchQueue> queue,
                                                 Completion completion) const;
  detail::BodyDescription bodyForDebugOutput() const;
};

// Defined out of the class, so that the library's own request types are compiled once, in the library.

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::send(std::optional<platform::DispatchQueue> queue,
                                               Completion completion) const {
  if constexpr (detail::isValidRequest<Self>) {
    if constexpr (detail::SendsWithOptions<Self> || detail::Transfers<Self>) {
      detail::sendByForm(self(), std::move(queue), nullptr, std::move(completion));
    } else {
      detail::dispatchSend(self(), std::move(queue), nullptr, std::move(completion));
    }
  }
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::sendBounded(SendOptions options, Completion completion) const {
  if constexpr (detail::isValidRequest<Self>) {
    completion.add(options);
    // A `send` of the type's own comes here by the library's form of the same name.
    if constexpr (detail::SendsWithOptions<Self>) {
      detail::dispatchSend(self(), std::move(options.queue), std::move(options.progress), std::move(completion));
    } else {
      detail::sendByForm(self(), std::move(options.queue), std::move(options.progress), std::move(completion));
    }
  }
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::send(Completion completion) const {
  self().send(platform::DispatchQueue::main(), std::move(completion));
}

template <class Self, class ResponseType>
auto HTTPRequestable<Self, ResponseType>::send() const -> velisand::Future<HTTPResponse<ResponseBody>> {
  return sendForFuture(detail::noOptions());
}

template <class Self, class ResponseType>
auto HTTPRequestable<Self, ResponseType>::sendForFuture(const SendOptions& options) const
    -> velisand::Future<HTTPResponse<ResponseBody>> {
  if constexpr (detail::isValidRequest<Self>) {
    auto outcome = detail::SendFuture<Response>::make(options);
    detail::sendByForm(self(), std::move(outcome.queue), options.progress, std::move(outcome.completion));
    return std::move(outcome.future);
  }
  detail::unreachable();
}

template <class Self, class ResponseType>
auto HTTPRequestable<Self, ResponseType>::sendForResponse(SendOptions options) const -> velisand::Future<Response> {
  if constexpr (detail::isValidRequest<Self>) return detail::sendForResponse(self(), std::move(options));
  detail::unreachable();
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
  return detail::curlCommandParts(detail::requirement::method(self()), target(), detail::requirement::headers(self()),
                                  detail::read(&Self::sessionConfigurationIdentifier, self()));
}

template <class Self, class ResponseType>
std::string HTTPRequestable<Self, ResponseType>::curlCommand() const {
  if constexpr (detail::UploadsFile<Self>) {
    return detail::curlCommandOfUpload(_curlCommand(), velisand::fileURL(detail::requirement::body(self())));
  } else if constexpr (detail::CarriesBody<Self>) {
    const auto body = bodyForDebugOutput();
    if (body.stream) return detail::curlCommandOfStream(_curlCommand(), body.stream->length());
    return detail::curlCommand(_curlCommand(), body.bytes);
  } else {
    return detail::curlCommand(_curlCommand());
  }
}

template <class Self, class ResponseType>
template <class Command, class Options>
Command HTTPRequestable<Self, ResponseType>::shellCommand(const std::type_identity_t<Options>& options) const {
  std::optional<platform::URL> file;
  if constexpr (detail::UploadsFile<Self>) file = velisand::fileURL(detail::requirement::body(self()));
  return detail::shellCommandOf(self().urlRequest(), file, options);
}

template <class Self, class ResponseType>
void HTTPRequestable<Self, ResponseType>::printDebugOutput(const std::optional<platform::Error>& error,
                                                           const Response& response,
                                                           const std::optional<platform::Data>& data) const {
  const auto level = detail::currentVerbosity();
  if (level == HTTPVerbosityLevel::none) return;
  const bool isVerbose = level == HTTPVerbosityLevel::verbose;
  detail::printDebugOutput(level, {.method = detail::requirement::method(self()),
                                   .target = target(),
                                   .configuration = detail::read(&Self::sessionConfigurationIdentifier, self()),
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
detail::BodyDescription HTTPRequestable<Self, ResponseType>::bodyForDebugOutput() const {
  detail::BodyDescription body{.contentType = HTTPMediaType::any, .bytes = {}, .contentEncoding = {}};
  if constexpr (detail::CarriesBody<Self>) {
    try {
      if constexpr (detail::checkBody<Self>()) body = detail::describeBody(self());
    } catch (...) {
      return body;
    }
  }
  return body;
}

}  // namespace corvane
