#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/HTTPStatus.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/AnyValue.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// The exchange is over, but its outcome cannot be used.
///
/// Each case has the payload that its factory takes; the payloads of other cases are absent.
class CORVANE_API HTTPResponseError final : public velisand::AppError<HTTPResponseError>,
                                            public vantorel::ErrorLoggable {
 public:
  /// Why the response cannot be used; see the factories below.
  enum class Case { unacceptableStatus, malformedData, jsonDecoding, taskCancelled, noContent };

  /// The status of the response does not count as success; `unknown` for an unlisted code or without a response.
  static HTTPResponseError unacceptableStatus(HTTPStatus status);
  /// The received bytes cannot be converted to the body type.
  static HTTPResponseError malformedData(platform::TypeValue type);
  template <class T>
  static HTTPResponseError malformedData() {
    return malformedData(platform::TypeValue{&typeid(T)});
  }
  /// The received text cannot be decoded to the type; the underlying error has the path and the reason.
  static HTTPResponseError jsonDecoding(platform::TypeValue type, platform::Error underlyingError, std::string json);
  /// The request was cancelled before it completed; the server may have processed it.
  static HTTPResponseError taskCancelled();
  /// The exchange succeeded without a body, but the future needs one.
  static HTTPResponseError noContent();

  /// Why the response cannot be used.
  Case which() const { return case_; }
  /// The status of `unacceptableStatus`.
  const std::optional<HTTPStatus>& status() const { return status_; }
  /// The requested type, of `malformedData` and `jsonDecoding`.
  const std::optional<platform::TypeValue>& type() const { return type_; }
  /// The `platform::DecodingError` of `jsonDecoding`.
  const std::optional<platform::Error>& underlyingError() const { return underlyingError_; }
  /// The received text of `jsonDecoding`; empty if it was not UTF-8.
  const std::optional<std::string>& json() const { return json_; }

  std::string message() const override;
  /// "Corvane.HTTPResponseError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  /// Equal case and equal payload.
  friend CORVANE_API bool operator==(const HTTPResponseError& left, const HTTPResponseError& right);

 private:
  explicit HTTPResponseError(Case which);

  Case case_;
  std::optional<HTTPStatus> status_;
  std::optional<platform::TypeValue> type_;
  std::optional<platform::Error> underlyingError_;
  std::optional<std::string> json_;
};

}  // namespace corvane
