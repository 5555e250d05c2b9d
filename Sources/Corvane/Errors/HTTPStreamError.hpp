#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// What a streamed response consists of is not what was expected. The exchange was ended.
///
///     const auto* problem = error.as<HTTPStreamError>();
///     if (problem && problem->which() == HTTPStreamError::Case::malformedLine) report(problem->line());
class CORVANE_API HTTPStreamError final : public velisand::AppError<HTTPStreamError>, public vantorel::ErrorLoggable {
 public:
  /// The fault of the stream; see the factories below.
  enum class Case { lineTooLong, malformedLine, eventTooLong, unexpectedContentType };

  /// A line has more than this number of bytes.
  static HTTPStreamError lineTooLong(std::uint64_t line, std::size_t maximumBytes);
  /// A line is not the JSON that was expected; the error has the path and the reason.
  static HTTPStreamError malformedLine(std::uint64_t line, platform::Error underlyingError);
  /// An event, or a line of one, has more than this number of bytes.
  static HTTPStreamError eventTooLong(std::size_t maximumBytes);
  /// The response is not of the type "text/event-stream".
  static HTTPStreamError unexpectedContentType(std::string contentType);

  /// The fault of the stream.
  Case which() const { return case_; }
  /// The number of the line, from 1; 0 for an event.
  std::uint64_t line() const { return line_; }
  /// The limit of `lineTooLong` and `eventTooLong`; otherwise 0.
  std::size_t maximumBytes() const { return maximumBytes_; }
  /// The error of `malformedLine`.
  const std::optional<platform::Error>& underlyingError() const { return underlyingError_; }
  /// The type of `unexpectedContentType`; empty if the response has none.
  const std::string& contentType() const { return contentType_; }

  std::string message() const override;
  /// "Corvane.HTTPStreamError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;

  /// Equal case and equal payload.
  friend CORVANE_API bool operator==(const HTTPStreamError& left, const HTTPStreamError& right);

 private:
  explicit HTTPStreamError(Case which);

  Case case_;
  std::uint64_t line_ = 0;
  std::size_t maximumBytes_ = 0;
  std::optional<platform::Error> underlyingError_;
  std::string contentType_;
};

}  // namespace corvane
