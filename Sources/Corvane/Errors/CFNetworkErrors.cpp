#include "Corvane/Errors/CFNetworkErrors.hpp"

#include <utility>

#include "Corvane/Errors/Internal/CFNetworkMessages.hpp"

namespace corvane {

using platform::Dictionary;

CFNetworkErrors::CFNetworkErrors(std::int32_t rawValue, std::optional<platform::Error> underlyingError)
    : rawValue_(rawValue), underlyingError_(std::move(underlyingError)) {}

std::string CFNetworkErrors::message() const {
  if (const auto text = detail::cfNetworkMessage(rawValue_)) return std::string(*text);
  return "CFNet unknown error: " + std::to_string(rawValue_);
}

std::string CFNetworkErrors::errorDomain() const { return "CFNetwork.CFNetworkErrors"; }

std::int64_t CFNetworkErrors::errorCode() const { return rawValue_; }

Dictionary CFNetworkErrors::errorUserInfo() const {
  auto own = AppError::errorUserInfo();
  if (!underlyingError_) return own;
  auto info = underlyingError_->userInfo();
  info.merge(own);
  return info;
}

}  // namespace corvane
