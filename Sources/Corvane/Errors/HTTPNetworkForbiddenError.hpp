#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A request was about to use the network while `Corvane::isNetworkForbidden` was set; nothing was sent.
class CORVANE_API HTTPNetworkForbiddenError final : public velisand::AppError<HTTPNetworkForbiddenError>,
                                                    public vantorel::ErrorLoggable {
 public:
  /// The error of a request with this method and URL.
  HTTPNetworkForbiddenError(std::string method, platform::URL url);

  /// The method of the request, e.g. "GET".
  const std::string& method() const { return method_; }
  /// The URL of the request.
  const platform::URL& url() const { return url_; }

  /// "network forbidden: GET https://api.example.com/users".
  std::string message() const override;
  /// "Corvane.HTTPNetworkForbiddenError".
  std::string errorDomain() const override;
  std::optional<platform::Dictionary> additionalLogInfo() const override;

  friend bool operator==(const HTTPNetworkForbiddenError& left, const HTTPNetworkForbiddenError& right) {
    return left.method_ == right.method_ && left.url_ == right.url_;
  }

 private:
  std::string method_;
  platform::URL url_;
};

}  // namespace corvane
