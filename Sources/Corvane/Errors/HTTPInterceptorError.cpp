#include "Corvane/Errors/HTTPInterceptorError.hpp"

#include <utility>

namespace corvane {

HTTPInterceptorError HTTPInterceptorError::noResponse(std::string interceptor) {
  HTTPInterceptorError error(Case::noResponse);
  error.interceptor_ = std::move(interceptor);
  return error;
}

HTTPInterceptorError HTTPInterceptorError::tooManySends(int maximum) {
  HTTPInterceptorError error(Case::tooManySends);
  error.maximum_ = maximum;
  return error;
}

std::string HTTPInterceptorError::message() const {
  if (case_ == Case::noResponse) return "The interceptor " + interceptor_ + " let go of a request without a response";
  return "The interceptors sent a request more than " + std::to_string(maximum_) + " times";
}

std::string HTTPInterceptorError::errorDomain() const { return "Corvane.HTTPInterceptorError"; }

std::int64_t HTTPInterceptorError::errorCode() const { return static_cast<std::int64_t>(case_); }

bool operator==(const HTTPInterceptorError& left, const HTTPInterceptorError& right) {
  return left.case_ == right.case_ && left.interceptor_ == right.interceptor_ && left.maximum_ == right.maximum_;
}

}  // namespace corvane
