#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {
class HTTPURLResponse;
}

namespace corvane {

/// The status of a response: one of the 41 status codes that have a name here, or `unknown` for a missing
/// status and for every other code, which `statusCode` still has.
///
/// A small value, for use in `switch` (with a `default`), as a key, and in constant expressions:
///
///     switch (response.status) {
///       case HTTPStatus::notFound: …
///     }
class CORVANE_API HTTPStatus {
 public:
  /// The type that a `switch` compares; use the constants below as cases.
  enum class Case : int;

  /// The status codes of RFC 2616, 10, in ascending order. 100 and 101.
  static const HTTPStatus continue_, switchingProtocols;
  /// 200.
  static const HTTPStatus success;
  /// 201 to 206.
  static const HTTPStatus created, accepted, nonAuthoritativeInfo, noContent, resetContent, partialContent;
  /// 300 to 307.
  static const HTTPStatus multipleChoices, movedPermanently, found, seeOther, notModified, useProxy, unused,
      temporaryRedirect;
  /// 400 to 417.
  static const HTTPStatus badRequest, unauthorized, paymentRequired, forbidden, notFound, methodNotAllowed,
      notAcceptable, proxyAuthenticationRequired, requestTimeout, conflict, gone, lengthRequired, preconditionFailed,
      requestEntityTooLarge, requestURITooLong, unsupportedMediaType, requestedRangeNotSatisfiable, expectationFailed;
  /// 500 to 505.
  static const HTTPStatus internalServerError, notImplemented, badGateway, serviceUnavailable, gatewayTimeout,
      httpVersionNotSupported;
  /// A missing or unlisted status; its raw value is 1000.
  static const HTTPStatus unknown;

  /// The status with this number; absent if no status has it. 1000 is `unknown`.
  static std::optional<HTTPStatus> fromRawValue(int rawValue);

  /// The status of a response with this code: the listed one, or an `unknown` that keeps the code.
  static HTTPStatus of(int code);

  /// The status code; 1000 for `unknown`.
  constexpr int rawValue() const { return rawValue_; }
  /// The code that the server sent, 422 as well as 404. Absent for an `unknown` without a code.
  constexpr std::optional<int> statusCode() const { return code_ == 0 ? std::nullopt : std::optional(code_); }
  /// The phrase of the code in the IANA registry of status codes (RFC 9110, 16.2.1): "Unprocessable Content" for 422.
  /// Empty for a code that is not registered, and without a code.
  std::string_view reasonPhrase() const;
  /// The name of the constant, without a trailing underscore: "notFound", "continue".
  std::string_view name() const;

  /// Converts for `switch`; see above.
  constexpr operator Case() const { return static_cast<Case>(rawValue_); }  // NOLINT: what makes `switch` work
  friend constexpr bool operator==(HTTPStatus left, HTTPStatus right) { return left.rawValue_ == right.rawValue_; }

 private:
  static constexpr int rawValueOfUnknown = 1000;

  constexpr explicit HTTPStatus(int rawValue) : HTTPStatus(rawValue, rawValue == rawValueOfUnknown ? 0 : rawValue) {}
  constexpr HTTPStatus(int rawValue, int code) : rawValue_(rawValue), code_(code) {}

  int rawValue_;
  int code_;  ///< not part of the value: every `unknown` is equal
};

inline constexpr HTTPStatus HTTPStatus::continue_{100};
inline constexpr HTTPStatus HTTPStatus::switchingProtocols{101};
inline constexpr HTTPStatus HTTPStatus::success{200};
inline constexpr HTTPStatus HTTPStatus::created{201};
inline constexpr HTTPStatus HTTPStatus::accepted{202};
inline constexpr HTTPStatus HTTPStatus::nonAuthoritativeInfo{203};
inline constexpr HTTPStatus HTTPStatus::noContent{204};
inline constexpr HTTPStatus HTTPStatus::resetContent{205};
inline constexpr HTTPStatus HTTPStatus::partialContent{206};
inline constexpr HTTPStatus HTTPStatus::multipleChoices{300};
inline constexpr HTTPStatus HTTPStatus::movedPermanently{301};
inline constexpr HTTPStatus HTTPStatus::found{302};
inline constexpr HTTPStatus HTTPStatus::seeOther{303};
inline constexpr HTTPStatus HTTPStatus::notModified{304};
inline constexpr HTTPStatus HTTPStatus::useProxy{305};
inline constexpr HTTPStatus HTTPStatus::unused{306};
inline constexpr HTTPStatus HTTPStatus::temporaryRedirect{307};
inline constexpr HTTPStatus HTTPStatus::badRequest{400};
inline constexpr HTTPStatus HTTPStatus::unauthorized{401};
inline constexpr HTTPStatus HTTPStatus::paymentRequired{402};
inline constexpr HTTPStatus HTTPStatus::forbidden{403};
inline constexpr HTTPStatus HTTPStatus::notFound{404};
inline constexpr HTTPStatus HTTPStatus::methodNotAllowed{405};
inline constexpr HTTPStatus HTTPStatus::notAcceptable{406};
inline constexpr HTTPStatus HTTPStatus::proxyAuthenticationRequired{407};
inline constexpr HTTPStatus HTTPStatus::requestTimeout{408};
inline constexpr HTTPStatus HTTPStatus::conflict{409};
inline constexpr HTTPStatus HTTPStatus::gone{410};
inline constexpr HTTPStatus HTTPStatus::lengthRequired{411};
inline constexpr HTTPStatus HTTPStatus::preconditionFailed{412};
inline constexpr HTTPStatus HTTPStatus::requestEntityTooLarge{413};
inline constexpr HTTPStatus HTTPStatus::requestURITooLong{414};
inline constexpr HTTPStatus HTTPStatus::unsupportedMediaType{415};
inline constexpr HTTPStatus HTTPStatus::requestedRangeNotSatisfiable{416};
inline constexpr HTTPStatus HTTPStatus::expectationFailed{417};
inline constexpr HTTPStatus HTTPStatus::internalServerError{500};
inline constexpr HTTPStatus HTTPStatus::notImplemented{501};
inline constexpr HTTPStatus HTTPStatus::badGateway{502};
inline constexpr HTTPStatus HTTPStatus::serviceUnavailable{503};
inline constexpr HTTPStatus HTTPStatus::gatewayTimeout{504};
inline constexpr HTTPStatus HTTPStatus::httpVersionNotSupported{505};
inline constexpr HTTPStatus HTTPStatus::unknown{rawValueOfUnknown};

/// Whether a response with this status counts as a success: from `success` (200) to `partialContent` (206).
constexpr bool isSuccess(HTTPStatus status) {
  return HTTPStatus::success.rawValue() <= status.rawValue() &&
         status.rawValue() <= HTTPStatus::partialContent.rawValue();
}

/// The status of a platform response; `unknown`, with its code, when that is not listed above.
CORVANE_API HTTPStatus status(const platform::HTTPURLResponse& response);

/// Writes the name.
CORVANE_API std::ostream& operator<<(std::ostream& stream, HTTPStatus status);

}  // namespace corvane

template <>
struct std::hash<corvane::HTTPStatus> {
  std::size_t operator()(corvane::HTTPStatus status) const noexcept { return std::hash<int>()(status.rawValue()); }
};
