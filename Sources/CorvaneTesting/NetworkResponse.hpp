#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane::testkit {

namespace detail {
struct NetworkResponseAccess;
}

/// What a `MockNetwork` responds with: a response, or the failure of an exchange.
///
/// ```
/// NetworkResponse().json(User{.id = 7, .name = "Ada"})
/// NetworkResponse(503).header("Retry-After", "30").delay(2)
/// NetworkResponse::connectionLost()
/// ```
///
/// "Content-Length" is added unless there is such a field, or a "Transfer-Encoding". A body with a content coding
/// ("Content-Encoding: gzip") is given as it goes over the network; the library decodes it. Responses to HEAD, and
/// those with status 204 or 304, have no body.
class NetworkResponse {
 public:
  /// A response with this status and without a body. Default: 200.
  explicit NetworkResponse(int status = 200) : status_(status) {}

  /// The exchange fails with this error, as it is.
  static NetworkResponse error(platform::Error error);
  /// The connection breaks before the response: -1005. The server may have acted on the request.
  static NetworkResponse connectionLost() { return failing(Failure::connectionLost); }
  /// No connection to the server can be made: -1004. Nothing was sent.
  static NetworkResponse cannotConnect() { return failing(Failure::cannotConnect); }
  /// There is no host of that name: -1003. Nothing was sent.
  static NetworkResponse hostNotFound() { return failing(Failure::hostNotFound); }
  /// The request's time-out passes, at once: -1001. The server may have acted on the request.
  static NetworkResponse timeout() { return failing(Failure::timeout); }

  /// Adds a field; repeated fields and their order are kept. Throws `std::invalid_argument` for a field that no server
  /// can send.
  NetworkResponse& header(std::string_view name, std::string_view value);
  /// Sets the body.
  NetworkResponse& body(platform::Data bytes);
  /// A body of the type "text/plain", in UTF-8.
  NetworkResponse& text(std::string_view text);
  /// A body of the type "application/json". The text is not checked.
  NetworkResponse& json(std::string_view text);
  /// The same from a model, as `JSONEncoder` writes it.
  template <class Model>
    requires(!std::convertible_to<const Model&, std::string_view>)
  NetworkResponse& json(const Model& model) {
    return json(platform::JSONEncoder().encode(model).view());
  }
  /// The body is the content of this file, with the type of its extension. It is read now; throws an `Error`
  /// ("NSCocoaErrorDomain") when it cannot be read.
  NetworkResponse& file(const std::string& path);
  /// The response, or the failure, comes so many seconds after the request: by the clock of the test while there is a
  /// `ManualTime`. The request's time-outs go on; a later `cannotConnect` or `hostNotFound` is -1001. Default: 0.
  NetworkResponse& delay(platform::Seconds interval);
  /// The connection breaks when this many bytes of the body have arrived: -1005.
  NetworkResponse& breakAfter(std::size_t bytes);

 private:
  friend struct detail::NetworkResponseAccess;
  enum class Failure : std::uint8_t { none, connectionLost, cannotConnect, hostNotFound, timeout };

  static NetworkResponse failing(Failure failure);

  int status_ = 200;
  platform::HTTPHeaderFields fields_;
  platform::Data body_;
  double delay_ = 0;
  Failure failure_ = Failure::none;
  std::optional<platform::Error> error_;
  std::optional<std::size_t> breaksAfter_;
};

}  // namespace corvane::testkit
