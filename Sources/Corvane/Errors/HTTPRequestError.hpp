#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A request could not be built; nothing was sent.
class CORVANE_API HTTPRequestError final : public velisand::AppError<HTTPRequestError>, public vantorel::ErrorLoggable {
 public:
  /// The fault of the request.
  enum class Case { malformedURL };

  /// Base URL, path and query do not form a URL that a request can be sent to.
  static HTTPRequestError malformedURL(std::string url);

  /// Always `malformedURL`.
  Case which() const { return Case::malformedURL; }
  /// The text that is not a URL, or not one that a request can be sent to.
  const std::string& url() const { return url_; }

  std::string message() const override;
  /// "Corvane.HTTPRequestError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  friend bool operator==(const HTTPRequestError& left, const HTTPRequestError& right) {
    return left.url_ == right.url_;
  }

 private:
  explicit HTTPRequestError(std::string url);

  std::string url_;
};

}  // namespace corvane
