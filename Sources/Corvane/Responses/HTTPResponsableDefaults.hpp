#pragma once

#include <optional>
#include <string>
#include <typeinfo>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Detail/SelfChecks.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/TypeName.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

namespace detail {
CORVANE_API std::string debugStatusAndHeaders(const std::string& typeName, HTTPStatus status,
                                              const std::optional<platform::HTTPHeaderFields>& headers);
}  // namespace detail

/// A response's type, status and headers, one line each, human-readable.
template <class Response>
std::string debugStatusAndHeaders(const Response& response) {
  return detail::debugStatusAndHeaders(platform::typeName(typeid(response)), detail::read(&Response::status, response),
                                       detail::read(&Response::headers, response));
}

/// Adds to a custom response type the members that every response has besides its facts.
///
///     struct UserResponse : HTTPResponsableDefaults<UserResponse> { … };
template <class Self>
struct HTTPResponsableDefaults {
  /// The response's type, status and headers, one line each, human-readable.
  std::string debugStatusAndHeaders() const {
    static_assert(detail::checkSelf<Self, HTTPResponsableDefaults>());
    return corvane::debugStatusAndHeaders(static_cast<const Self&>(*this));
  }
};

}  // namespace corvane
