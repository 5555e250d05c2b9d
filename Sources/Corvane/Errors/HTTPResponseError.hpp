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

/// The exchange is over, but what came of it cannot be used.
///
/// Each case has the payload that its factory takes; the payload of another case reads as absent.
class CORVANE_API HTTPResponseError final : public velisand::AppError<HTTPResponseError>,
                                            public vantorel::ErrorLoggable {
 public:
  /// Why the response cannot be used; see the factories below.
  enum class Case { unacceptableStatus, malformedData, jsonDecoding, taskCancelled, noContent };

  /// The server answered with a status that does not count as success; `unknown` for an unlisted code or
  /// none at all.
  static HTTPResponseError unacceptableStatus(HTTPStatus status);
  /// The bytes that arrived do not make a value of the body type.
  static HTTPResponseError malformedData(platform::TypeValue type);
  template <class T>
  static HTTPResponseError malformedData() {
    return malformedData(platform::TypeValue{&typeid(T)});
  }
  /// The text that arrived does not decode to the type; the underlying error says where and why.
  static HTTPResponseError jsonDecoding(platform::TypeValue type, platform::Error underlyingError, std::string json);
  /// The request was cancelled before it completed; the server may have acted on it.
  static HTTPResponseError taskCancelled();
  /// The exchange succeeded without a body where one was asked for.
  static HTTPResponseError noContent();

  /// Why the response cannot be used.
  Case which() const { return case_; }
  /// The status of `unacceptableStatus`.
  const std::optional<HTTPStatus>& status() const { return status_; }
  /// The type that was asked for, of `malformedData` and `jsonDecoding`.
  const std::optional<platform::TypeValue>& type() const { return type_; }
  /// Of `jsonDecoding`: the `platform::DecodingError`.
  const std::optional<platform::Error>& underlyingError() const { return underlyingError_; }
  /// Of `jsonDecoding`: the text that came; empty when it was no UTF-8.
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
  explicit HTTPResponseError(Case which) : case_(which) {}

  Case case_;
  std::optional<HTTPStatus> status_;
  std::optional<platform::TypeValue> type_;
  std::optional<platform::Error> underlyingError_;
  std::optional<std::string> json_;
};

}  // namespace corvane
