#pragma once

#include <cstdint>
#include <string>

#include "Platform/Export.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// The interceptors of a client configuration brought a request to no response. Of `noResponse` the request may have
/// been sent; of `tooManySends` it was, several times.
///
///     const auto* refused = error.as<HTTPInterceptorError>();
///     if (refused && refused->which() == HTTPInterceptorError::Case::tooManySends) report(refused->message());
class CORVANE_API HTTPInterceptorError final : public velisand::AppError<HTTPInterceptorError>,
                                               public vantorel::ErrorLoggable {
 public:
  /// The fault of the interceptor; see the factories below.
  enum class Case { noResponse, tooManySends };

  /// The interceptor let go of the future that it returned, or of the request, without completing the future.
  static HTTPInterceptorError noResponse(std::string interceptor);
  /// A request was sent on more often than `HTTPInterceptor::maximumSends` allows.
  static HTTPInterceptorError tooManySends(int maximum);

  /// The fault of the interceptor.
  Case which() const { return case_; }
  /// The type of the interceptor of `noResponse`; otherwise empty.
  const std::string& interceptor() const { return interceptor_; }
  /// The limit of `tooManySends`; otherwise 0.
  int maximum() const { return maximum_; }

  std::string message() const override;
  /// "Corvane.HTTPInterceptorError".
  std::string errorDomain() const override;
  /// The ordinal of the case.
  std::int64_t errorCode() const override;

  /// Equal case and equal payload.
  friend CORVANE_API bool operator==(const HTTPInterceptorError& left, const HTTPInterceptorError& right);

 private:
  explicit HTTPInterceptorError(Case which) : case_(which) {}

  Case case_;
  std::string interceptor_;
  int maximum_ = 0;
};

}  // namespace corvane
