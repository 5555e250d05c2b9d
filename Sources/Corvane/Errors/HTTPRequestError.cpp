#include "Corvane/Errors/HTTPRequestError.hpp"

#include <utility>

namespace corvane {

HTTPRequestError::HTTPRequestError(std::string url) : url_(std::move(url)) {}

HTTPRequestError HTTPRequestError::malformedURL(std::string url) { return HTTPRequestError(std::move(url)); }

std::string HTTPRequestError::message() const { return "Malformed URL: " + url_; }

std::string HTTPRequestError::errorDomain() const { return "Corvane.HTTPRequestError"; }

std::int64_t HTTPRequestError::errorCode() const { return static_cast<std::int64_t>(which()); }

std::optional<platform::Dictionary> HTTPRequestError::additionalLogInfo() const {
  return platform::Dictionary{{"malformedURL", url_}};
}

}  // namespace corvane
