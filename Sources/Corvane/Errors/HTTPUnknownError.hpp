#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A state of the library that should not occur, with the place in the source that met it.
class CORVANE_API HTTPUnknownError final : public velisand::AppError<HTTPUnknownError>, public vantorel::ErrorLoggable {
 public:
  enum class Case {
    completionWithoutResponseFromPolling,
    futureFailedToMapBody,
    downloadResponseFailedToConstruct,
    jsonResponseFailedToConstruct,
    dataResponseFailedToConstruct,
    unableToParseJSON,
    unknownFutureState
  };

  static HTTPUnknownError completionWithoutResponseFromPolling(std::string file, std::string function, int line);
  static HTTPUnknownError futureFailedToMapBody(std::string file, std::string function, int line);
  static HTTPUnknownError downloadResponseFailedToConstruct(std::string file, std::string function, int line);
  static HTTPUnknownError jsonResponseFailedToConstruct(std::string json, std::string file, std::string function,
                                                        int line);
  static HTTPUnknownError dataResponseFailedToConstruct(std::string file, std::string function, int line);
  static HTTPUnknownError unableToParseJSON(std::string json, platform::Error originalError, std::string file,
                                            std::string function, int line);
  static HTTPUnknownError unknownFutureState(std::string file, std::string function, int line);

  Case which() const { return case_; }
  const std::string& file() const { return file_; }
  const std::string& function() const { return function_; }
  int line() const { return line_; }
  /// Present for the two cases about JSON.
  const std::optional<std::string>& json() const { return json_; }
  /// Present for `unableToParseJSON`.
  const std::optional<platform::Error>& originalError() const { return originalError_; }

  std::string message() const override;
  /// "Corvane.HTTPUnknownError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  /// The entry "originalError" is a deferred dictionary, made when the logger asks for it.
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  /// Equal case and equal payload, place included.
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
