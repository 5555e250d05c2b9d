#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A state of the library that should not occur, with the source location that detected it.
///
///     if (error.as<HTTPUnknownError>()) report("a defect of the library: " + error.message());
class CORVANE_API HTTPUnknownError final : public velisand::AppError<HTTPUnknownError>, public vantorel::ErrorLoggable {
 public:
  /// The unexpected state; see the factories below.
  enum class Case {
    completionWithoutResponseFromPolling,
    futureFailedToMapBody,
    downloadResponseFailedToConstruct,
    jsonResponseFailedToConstruct,
    dataResponseFailedToConstruct,
    unableToParseJSON,
    unknownFutureState
  };

  /// A retrying send of a polling type ended without any response.
  static HTTPUnknownError completionWithoutResponseFromPolling(std::string file, std::string function, int line);
  /// A success had no body of the future's type. Never reported; kept for compatibility.
  static HTTPUnknownError futureFailedToMapBody(std::string file, std::string function, int line);
  /// A download ended with neither an error nor an HTTP response.
  static HTTPUnknownError downloadResponseFailedToConstruct(std::string file, std::string function, int line);
  /// An exchange for JSON ended without an error, and without an HTTP response that has a body.
  static HTTPUnknownError jsonResponseFailedToConstruct(std::string json, std::string file, std::string function,
                                                        int line);
  /// An exchange for bytes ended with neither an error nor an HTTP response.
  static HTTPUnknownError dataResponseFailedToConstruct(std::string file, std::string function, int line);
  /// A custom codec threw an exception other than a `platform::DecodingError`.
  static HTTPUnknownError unableToParseJSON(std::string json, platform::Error originalError, std::string file,
                                            std::string function, int line);
  /// A future was completed with neither a value nor an error. Never reported; kept for compatibility.
  static HTTPUnknownError unknownFutureState(std::string file, std::string function, int line);

  /// The unexpected state.
  Case which() const { return case_; }
  /// The source file that detected it.
  const std::string& file() const { return file_; }
  /// The function that detected it.
  const std::string& function() const { return function_; }
  /// The line that detected it.
  int line() const { return line_; }
  /// The received text; present for the two cases about JSON.
  const std::optional<std::string>& json() const { return json_; }
  /// The exception of the codec; present for `unableToParseJSON`.
  const std::optional<platform::Error>& originalError() const { return originalError_; }

  std::string message() const override;
  /// "Corvane.HTTPUnknownError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  /// The entry "originalError" is a deferred dictionary, created when a sink needs it.
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  /// Equal case and equal payload, source location included.
  friend CORVANE_API bool operator==(const HTTPUnknownError& left, const HTTPUnknownError& right);

 private:
  HTTPUnknownError(Case which, std::string file, std::string function, int line);

  Case case_;
  std::string file_;
  std::string function_;
  int line_;
  std::optional<std::string> json_;
  std::optional<platform::Error> originalError_;
};

}  // namespace corvane
