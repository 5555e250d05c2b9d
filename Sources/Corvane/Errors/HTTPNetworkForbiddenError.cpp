#include "Corvane/Errors/HTTPNetworkForbiddenError.hpp"

#include <utility>

namespace corvane {

HTTPNetworkForbiddenError::HTTPNetworkForbiddenError(std::string method, platform::URL url)
    : method_(std::move(method)), url_(std::move(url)) {}

std::string HTTPNetworkForbiddenError::message() const {
  return "network forbidden: " + method_ + " " + url_.absoluteString();
}

std::string HTTPNetworkForbiddenError::errorDomain() const { return "Corvane.HTTPNetworkForbiddenError"; }

std::optional<platform::Dictionary> HTTPNetworkForbiddenError::additionalLogInfo() const {
  return platform::Dictionary{{"method", method_}, {"url", url_.absoluteString()}};
}

}  // namespace corvane
