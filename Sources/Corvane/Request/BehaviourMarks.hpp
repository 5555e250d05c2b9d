#pragma once

#include <concepts>
#include <type_traits>

/// What tells the core of a request which behaviours its type has adopted, without their headers.
namespace corvane {

template <class Self, class ResponseType>
class HTTPRequestable;
template <class Self>
class HTTPMockable;
template <class Self>
class HTTPTestMockable;
template <class Self>
class HTTPRetryAttempting;
template <class Self>
class HTTPPolling;
template <class Self>
struct HTTPRequestCancelable;
template <class Self, class BodyType>
struct HTTPBodyRequestable;

}  // namespace corvane

namespace corvane::detail {

/// The request reports its progress: it is sent with a handler for that, which may be empty.
struct TransferMark {};
/// The response becomes a file.
struct DownloadMark {};
/// The request answers itself.
struct MockMark {};
/// The request has a response for tests. Such a type has `MockMark`, too.
struct TestMockMark {};
struct RetryMark {};
struct PollingMark {};
/// What every mixin for a body derives from, whatever its arguments.
struct BodyMark {};
/// What every `HTTPRequestCancelable` derives from.
struct CancelMark;

template <class Request>
concept Transfers = std::derived_from<Request, TransferMark>;
template <class Request>
concept Downloads = std::derived_from<Request, DownloadMark>;
template <class Request>
concept Mocks = std::derived_from<Request, MockMark>;
template <class Request>
concept TestMocks = std::derived_from<Request, TestMockMark>;
template <class Request>
concept Retries = std::derived_from<Request, RetryMark>;
template <class Request>
concept Polls = std::derived_from<Request, PollingMark>;
template <class Request>
concept CarriesBody = std::derived_from<Request, BodyMark>;

/// The one mixin that makes a type a request.
template <class Request>
using RequestMixin = HTTPRequestable<Request, typename Request::Response>;

template <class T>
concept HasResponse = requires {
  typename T::Response;
  typename T::Completion;
};

/// Refuses, for a behaviour, a type that is no request.
template <class T>
constexpr bool checkIsRequest() {
  static_assert(HasResponse<T>,
                "A behaviour is adopted beside a request mixin: `struct Get : DataGetRequestable<Get>, "
                "HTTPMockable<Get>`");
  return HasResponse<T>;
}

/// The types of a request that the signatures of a behaviour name.
template <class Request>
struct TypesOfRequest {
  using Response = typename Request::Response;
  using Completion = typename Request::Completion;
};
template <class T>
  requires(!HasResponse<T>)
struct TypesOfRequest<T> {
  struct Response {};
  using Completion = Response;
  static_assert(checkIsRequest<T>() || true, "said already");
};
template <class Request>
using ResponseOf = typename TypesOfRequest<Request>::Response;
template <class Request>
using CompletionOf = typename TypesOfRequest<Request>::Completion;

template <class Request>
inline constexpr bool mocksOnce = std::is_base_of_v<MockMark, Request> == Mocks<Request>;

/// Whether each mixin was given the type that adopts it. As the base of another it would take the one for the other.
template <class Request>
inline constexpr bool bodyNamesItself = !CarriesBody<Request>;
template <CarriesBody Request>
inline constexpr bool bodyNamesItself<Request> =
    std::is_base_of_v<HTTPBodyRequestable<Request, typename Request::Body>, Request>;
template <class Request>
inline constexpr bool namesItself =
    bodyNamesItself<Request> &&
    (!std::is_base_of_v<CancelMark, Request> || std::is_base_of_v<HTTPRequestCancelable<Request>, Request>) &&
    (!Mocks<Request> || std::is_base_of_v<HTTPMockable<Request>, Request>) &&
    (!TestMocks<Request> || std::is_base_of_v<HTTPTestMockable<Request>, Request>) &&
    (!Retries<Request> || std::is_base_of_v<HTTPRetryAttempting<Request>, Request>) &&
    (!Polls<Request> || std::is_base_of_v<HTTPPolling<Request>, Request>);

/// Refuses behaviours that were adopted in a way that has no meaning.
template <class Request>
constexpr bool checkBehaviours() {
  static_assert(mocksOnce<Request>, "An HTTPTestMockable is an HTTPMockable: derive from HTTPTestMockable alone");
  static_assert(namesItself<Request>,
                "A mixin is given the type that derives from it, `struct Get : DataGetRequestable<Get>, "
                "HTTPMockable<Get>`: one of these names another");
  return mocksOnce<Request> && namesItself<Request>;
}

}  // namespace corvane::detail
