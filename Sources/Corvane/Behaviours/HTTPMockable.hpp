#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Behaviours/Detail/BehaviourChecks.hpp"
#include "Corvane/Behaviours/Detail/MockDelivery.hpp"
#include "Corvane/Behaviours/Detail/TypedMock.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/Request/HTTPRequestable.hpp"

namespace corvane {

/// Makes a request return a mock response from its own properties, without the network: for previews, prototypes and
/// tests. `send`, the future form and every behaviour of such a type use the mock.
///
///     struct GetUser : JSONGetRequestable<GetUser, User>, HTTPMockable<GetUser> {
///       …
///       std::optional<Data> mockResponseData() const { return Data(R"({"login": "ada", "id": 1})"); }
///       double mockResponseTime = 0.5;
///     };
///
/// Each property may be stored, computed or static:
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
/// The mock response is processed like a real one: the same response type is built from it, `shouldSend`, `validate`
/// and `process` are called, debug output is printed, `cancel()` works during the delay, and the completion is called
/// on its queue. For a download, the data is written to a new file in the temporary directory, "UUID.tmp"; the process
/// ends if that fails. Progress is not reported. All mocks of the process run on one serial queue.
template <class Self>
class HTTPMockable : public detail::MockMark {
 public:
  /// Checks at compile time the base classes of the type and the types of its properties.
  constexpr HTTPMockable() noexcept(detail::checkSelf<Self, HTTPMockable>()) { detail::checkAdoption<Self>(); }

  /// The URL of the response. Default: the request's `url`.
  std::optional<platform::URL> mockURL() const { return detail::requirement::url(self()); }
  /// The header fields of the response. Default: the request's own `headers`.
  std::optional<HTTPHeaders> mockHeaders() const { return detail::asText(detail::requirement::headers(self())); }
  /// The status of the response. Default: 200.
  HTTPStatus mockStatus() const { return HTTPStatus::success; }
  /// The delay of the response in seconds, or a `std::chrono` duration. Default: 0.
  double mockResponseTime() const { return 0; }
  /// The announced length of the response, in bytes. Default: absent, the value from the headers.
  std::optional<std::int64_t> mockExpectedContentLength() const { return std::nullopt; }
  /// The suggested file name of the response. Default: absent, the value from headers and URL.
  std::optional<std::string> mockSuggestedFilename() const { return std::nullopt; }
  /// The media type of the response's body. Default: absent, the value from the headers.
  std::optional<std::string> mockMimeType() const { return std::nullopt; }
  /// The character set of the response's body. Default: absent, the value from the headers.
  std::optional<std::string> mockTextEncodingName() const { return std::nullopt; }
  /// The error with which the exchange fails, in place of a response. Default: absent.
  std::optional<platform::Error> mockError() const { return std::nullopt; }
  /// The response's body; for a download, the content of its file. Default: absent.
  std::optional<platform::Data> mockResponseData() const { return std::nullopt; }

  /// The platform response that the response comes with; from a fixed address when `mockURL` is absent.
  std::shared_ptr<const platform::HTTPURLResponse> mockURLResponse() const;
  /// `mockError`; else `HTTPResponseError::unacceptableStatus` when the request does not accept `mockStatus`.
  std::optional<platform::Error> mockComputedError() const;

  /// Delivers the mock response like `send`: the completion is called once, on the queue (absent: the main queue).
  template <class Request = Self>
  void mock(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion) const;
  /// For the library's own routes: delivers the mock response to an exchange that was made for this request.
  template <class Exchange>
  void mockExchange(const std::shared_ptr<Exchange>& exchange) const {
    detail::respondToExchange<detail::requirement::MockNames, Self>(exchange);
  }

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

/// A mock with a second response, for tests: `send` and every behaviour of such a type use the test response. Its
/// properties have the names of the mock's with `test` in place of `mock`, and default to them. `mock(queue,
/// completion)` still delivers the mock response.
template <class Self>
class HTTPTestMockable : public HTTPMockable<Self>, public detail::TestMockMark {
 public:
  /// As `mockURL`, which is the default.
  std::optional<platform::URL> testURL() const { return detail::requirement::mockURL(self()); }
  /// As `mockHeaders`, which is the default.
  std::optional<HTTPHeaders> testHeaders() const { return detail::requirement::mockHeaders(self()); }
  /// As `mockStatus`, which is the default.
  HTTPStatus testStatus() const { return detail::requirement::mockStatus(self()); }
  /// As `mockResponseTime`, which is the default.
  double testResponseTime() const { return platform::Seconds(detail::requirement::mockResponseTime(self())).count(); }
  /// As `mockExpectedContentLength`, which is the default.
  std::optional<std::int64_t> testExpectedContentLength() const {
    return detail::requirement::mockExpectedContentLength(self());
  }
  /// As `mockSuggestedFilename`, which is the default.
  std::optional<std::string> testSuggestedFilename() const {
    return detail::requirement::mockSuggestedFilename(self());
  }
  /// As `mockMimeType`, which is the default.
  std::optional<std::string> testMimeType() const { return detail::requirement::mockMimeType(self()); }
  /// As `mockTextEncodingName`, which is the default.
  std::optional<std::string> testTextEncodingName() const { return detail::requirement::mockTextEncodingName(self()); }
  /// As `mockError`, which is the default.
  std::optional<platform::Error> testError() const { return detail::requirement::mockError(self()); }
  /// As `mockResponseData`, which is the default.
  std::optional<platform::Data> testResponseData() const { return detail::requirement::mockResponseData(self()); }

  /// As `mockURLResponse` and `mockComputedError`, from the test's values.
  std::shared_ptr<const platform::HTTPURLResponse> testURLResponse() const;
  /// As `mockComputedError`, from the test's values.
  std::optional<platform::Error> testComputedError() const;

  /// As `mock`, from the test's values.
  template <class Request = Self>
  void test(std::optional<platform::DispatchQueue> queue, detail::CompletionOf<Request> completion) const;
  /// As `mockExchange`, from the test's values.
  template <class Exchange>
  void testExchange(const std::shared_ptr<Exchange>& exchange) const {
    detail::respondToExchange<detail::requirement::TestNames, Self>(exchange);
  }

 private:
  const Self& self() const { return static_cast<const Self&>(*this); }
};

template <class Self>
std::shared_ptr<const platform::HTTPURLResponse> HTTPMockable<Self>::mockURLResponse() const {
  return detail::mockedResponse<detail::requirement::MockNames>(self());
}

template <class Self>
std::optional<platform::Error> HTTPMockable<Self>::mockComputedError() const {
  return detail::mockedError<detail::requirement::MockNames>(self());
}

template <class Self>
template <class Request>
void HTTPMockable<Self>::mock(std::optional<platform::DispatchQueue> queue,
                              detail::CompletionOf<Request> completion) const {
  detail::respondFromMock<detail::requirement::MockNames, Request>(self(), std::move(queue), std::move(completion));
}

template <class Self>
std::shared_ptr<const platform::HTTPURLResponse> HTTPTestMockable<Self>::testURLResponse() const {
  return detail::mockedResponse<detail::requirement::TestNames>(self());
}

template <class Self>
std::optional<platform::Error> HTTPTestMockable<Self>::testComputedError() const {
  return detail::mockedError<detail::requirement::TestNames>(self());
}

template <class Self>
template <class Request>
void HTTPTestMockable<Self>::test(std::optional<platform::DispatchQueue> queue,
                                  detail::CompletionOf<Request> completion) const {
  detail::respondFromMock<detail::requirement::TestNames, Request>(self(), std::move(queue), std::move(completion));
}

}  // namespace corvane
