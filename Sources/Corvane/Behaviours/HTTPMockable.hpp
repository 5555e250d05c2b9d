#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/MockChecks.hpp"
#include "Corvane/Behaviours/Detail/MockDelivery.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

/// Lets a request answer itself, from what its type says, without the network: for previews, prototypes and tests.
/// `send`, the future form and every behaviour of such a type use the mock.
///
///     struct GetUser : JSONGetRequestable<GetUser, User>, HTTPMockable<GetUser> {
///       …
///       std::optional<Data> mockResponseData() const { return Data(R"({"login": "ada", "id": 1})"); }
///       double mockResponseTime = 0.5;
///     };
///
/// Each requirement may be stored, computed or static:
///
/// | you may write                                      | default                                              |
/// |----------------------------------------------------|------------------------------------------------------|
/// | `mockURL`: `URL` or absent                         | the request's `url`                                  |
/// | `mockHeaders`: `HTTPHeaders` or absent             | the request's own `headers`, as text                 |
/// | `mockStatus`: `HTTPStatus`                         | `success` (200)                                      |
/// | `mockResponseTime`: seconds or a duration          | 0                                                    |
/// | `mockExpectedContentLength`: bytes or absent       | absent: what the headers say                         |
/// | `mockSuggestedFilename`: text or absent            | absent: what headers and URL say                     |
/// | `mockMimeType`: text or absent                     | absent: what the headers say                         |
/// | `mockTextEncodingName`: text or absent             | absent: what the headers say                         |
/// | `mockError`: `Error` or absent                     | absent                                               |
/// | `mockResponseData`: `Data` or absent               | absent                                               |
///
/// The response takes the way of a real one: the same response type is made of it, `shouldSend`, `validate` and
/// `process` have their say, debug output is printed, `cancel()` works while it is awaited, and the completion is
/// called on its queue. For a download the data is written to a fresh file in the temporary directory, "UUID.tmp";
/// the process ends when that fails. Progress is not told. All mocks of the process answer on one serial queue.
template <class Self>
class HTTPMockable : public detail::MockMark {
 public:
  /// Holds the type to its other base classes and to the types of its requirements, when the first value is made.
  constexpr HTTPMockable() noexcept(detail::checkSelf<Self, HTTPMockable>()) { detail::checkAdoption<Self>(); }

  /// Where the response says that it came from. Default: the request's `url`.
  std::optional<platform::URL> mockURL() const { return detail::read(&Self::url, self()); }
  /// The header fields of the response. Default: the request's own `headers`.
  std::optional<HTTPHeaders> mockHeaders() const { return detail::asText(detail::read(&Self::headers, self())); }
  /// The status of the response. Default: 200.
  HTTPStatus mockStatus() const { return HTTPStatus::success; }
  /// Seconds until the response is there; a `std::chrono` duration will do. Default: 0.
  double mockResponseTime() const { return 0; }
  /// The length that the response announces, in bytes. Default: absent, what the headers say.
  std::optional<std::int64_t> mockExpectedContentLength() const { return std::nullopt; }
  /// The file name that the response suggests. Default: absent, what headers and URL say.
  std::optional<std::string> mockSuggestedFilename() const { return std::nullopt; }
  /// The type of the response's body. Default: absent, what the headers say.
  std::optional<std::string> mockMimeType() const { return std::nullopt; }
  /// The character set of the response's body. Default: absent, what the headers say.
  std::optional<std::string> mockTextEncodingName() const { return std::nullopt; }
  /// What the exchange fails with, in place of a response. Default: absent.
  std::optional<platform::Error> mockError() const { return std::nullopt; }
  /// The response's body; of a download the content of its file. Default: absent.
  std::optional<platform::Data> mockResponseData() const { return std::nullopt; }

  /// The platform response that the response comes with; from a fixed address when `mockURL` is absent.
  std::shared_ptr<const platform::HTTPURLResponse> mockURLResponse() const;
  /// `mockError`; else `HTTPResponseError::unacceptableStatus` when the request does not accept `mockStatus`.
  std::optional<platform::Error> mockComputedError() const;

  /// Answers from the mock, as `send` does: once, on the queue (absent: the main queue).
  template <class Request = Self>
  void mock(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

/// A mock with a second response, for tests: `send` and every behaviour of such a type use that one. Each of its
/// requirements is named like the mock's with `test` for `mock`, and defaults to it; `mock(queue, completion)` still
/// gives the mock's response.
template <class Self>
class HTTPTestMockable : public HTTPMockable<Self>, public detail::TestMockMark {
 public:
  /// As `mockURL`, which is the default.
  std::optional<platform::URL> testURL() const { return detail::read(&Self::mockURL, self()); }
  /// As `mockHeaders`, which is the default.
  std::optional<HTTPHeaders> testHeaders() const { return detail::read(&Self::mockHeaders, self()); }
  /// As `mockStatus`, which is the default.
  HTTPStatus testStatus() const { return detail::read(&Self::mockStatus, self()); }
  /// As `mockResponseTime`, which is the default.
  double testResponseTime() const { return platform::Seconds(detail::read(&Self::mockResponseTime, self())).count(); }
  /// As `mockExpectedContentLength`, which is the default.
  std::optional<std::int64_t> testExpectedContentLength() const {
    return detail::read(&Self::mockExpectedContentLength, self());
  }
  /// As `mockSuggestedFilename`, which is the default.
  std::optional<std::string> testSuggestedFilename() const {
    return detail::read(&Self::mockSuggestedFilename, self());
  }
  /// As `mockMimeType`, which is the default.
  std::optional<std::string> testMimeType() const { return detail::read(&Self::mockMimeType, self()); }
  /// As `mockTextEncodingName`, which is the default.
  std::optional<std::string> testTextEncodingName() const { return detail::read(&Self::mockTextEncodingName, self()); }
  /// As `mockError`, which is the default.
  std::optional<platform::Error> testError() const { return detail::read(&Self::mockError, self()); }
  /// As `mockResponseData`, which is the default.
  std::optional<platform::Data> testResponseData() const { return detail::read(&Self::mockResponseData, self()); }

  /// As `mockURLResponse` and `mockComputedError`, from the test's values.
  std::shared_ptr<const platform::HTTPURLResponse> testURLResponse() const;
  /// As `mockComputedError`, from the test's values.
  std::optional<platform::Error> testComputedError() const;

  /// As `mock`, from the test's values.
  template <class Request = Self>
  void test(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion) const;

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

namespace detail {

/// What a request says of its response; `makeOutcome` is called when that is due.
template <class Request>
struct TypedMock {
  platform::Seconds (*responseTime)(const Request&);
  TaskOutcome (*makeOutcome)(const Request&);
};

template <class Request>
void respondFromMock(const Request& request, std::optional<platform::DispatchQueue> queue,
                     CompletionOf<Request> completion, TypedMock<Request> mock) {
  const auto exchange = TypedExchange<Request>::make(request, std::move(queue), std::move(completion));
  if (!exchange) return;
  respondFromMock(
      exchange, Downloads<Request> ? MockBody::file : MockBody::bytes,
      [exchange = exchange.get(), mock] { return mock.responseTime(exchange->request()).count(); },
      [exchange = exchange.get(), mock] { return mock.makeOutcome(exchange->request()); });
}

}  // namespace detail

template <class Self>
std::shared_ptr<const platform::HTTPURLResponse> HTTPMockable<Self>::mockURLResponse() const {
  return detail::platformResponse({.url = detail::read(&Self::mockURL, self()),
                                   .headers = detail::read(&Self::mockHeaders, self()),
                                   .status = detail::read(&Self::mockStatus, self()),
                                   .expectedContentLength = detail::read(&Self::mockExpectedContentLength, self()),
                                   .suggestedFilename = detail::read(&Self::mockSuggestedFilename, self()),
                                   .mimeType = detail::read(&Self::mockMimeType, self()),
                                   .textEncodingName = detail::read(&Self::mockTextEncodingName, self())});
}

template <class Self>
std::optional<platform::Error> HTTPMockable<Self>::mockComputedError() const {
  const HTTPStatus status = detail::read(&Self::mockStatus, self());
  return detail::computedError(detail::read(&Self::mockError, self()), status, self().isAcceptable(status));
}

template <class Self>
template <class Request>
void HTTPMockable<Self>::mock(std::optional<platform::DispatchQueue> queue,
                              detail::CompletionOf<Request> completion) const {
  if constexpr (detail::isValidRequest<Request> && detail::checkMock<Request>()) {
    const Request& request = self();
    detail::respondFromMock<Request>(request, std::move(queue), std::move(completion),
                                     {.responseTime = [](const Request& sent) -> platform::Seconds {
                                        return detail::read(&Request::mockResponseTime, sent);
                                      },
                                      .makeOutcome = [](const Request& due) -> detail::TaskOutcome {
                                        return {.data = detail::read(&Request::mockResponseData, due),
                                                .url = detail::read(&Request::mockURL, due),
                                                .response = due.mockURLResponse(),
                                                .error = due.mockComputedError()};
                                      }});
  }
}

template <class Self>
std::shared_ptr<const platform::HTTPURLResponse> HTTPTestMockable<Self>::testURLResponse() const {
  return detail::platformResponse({.url = detail::read(&Self::testURL, self()),
                                   .headers = detail::read(&Self::testHeaders, self()),
                                   .status = detail::read(&Self::testStatus, self()),
                                   .expectedContentLength = detail::read(&Self::testExpectedContentLength, self()),
                                   .suggestedFilename = detail::read(&Self::testSuggestedFilename, self()),
                                   .mimeType = detail::read(&Self::testMimeType, self()),
                                   .textEncodingName = detail::read(&Self::testTextEncodingName, self())});
}

template <class Self>
std::optional<platform::Error> HTTPTestMockable<Self>::testComputedError() const {
  const HTTPStatus status = detail::read(&Self::testStatus, self());
  return detail::computedError(detail::read(&Self::testError, self()), status, self().isAcceptable(status));
}

template <class Self>
template <class Request>
void HTTPTestMockable<Self>::test(std::optional<platform::DispatchQueue> queue,
                                  detail::CompletionOf<Request> completion) const {
  if constexpr (detail::isValidRequest<Request> && detail::checkMock<Request>() && detail::checkTestMock<Request>()) {
    const Request& request = self();
    detail::respondFromMock<Request>(request, std::move(queue), std::move(completion),
                                     {.responseTime = [](const Request& sent) -> platform::Seconds {
                                        return detail::read(&Request::testResponseTime, sent);
                                      },
                                      .makeOutcome = [](const Request& due) -> detail::TaskOutcome {
                                        return {.data = detail::read(&Request::testResponseData, due),
                                                .url = detail::read(&Request::testURL, due),
                                                .response = due.testURLResponse(),
                                                .error = due.testComputedError()};
                                      }});
  }
}

}  // namespace corvane
