#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Responses/HTTPResult.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace corvane {

namespace detail {
/// A property may be a data member or a function without arguments.
template <class R, auto member, class Type>
concept OffersProperty = ReadsAs<decltype(member), R, Type>;
}  // namespace detail

/// The facts that every response has about its exchange. Each property may be stored (a data member) or computed (a
/// function without arguments).
///
///     static_assert(HTTPResponsableBase<DataResponse>);
template <class R>
concept HTTPResponsableBase = detail::OffersProperty<R, &R::data, std::optional<platform::Data>> &&
                              detail::OffersProperty<R, &R::headers, std::optional<platform::HTTPHeaderFields>> &&
                              detail::OffersProperty<R, &R::status, HTTPStatus> &&
                              detail::OffersProperty<R, &R::expectedContentLength, std::optional<std::int64_t>> &&
                              detail::OffersProperty<R, &R::suggestedFilename, std::optional<std::string>> &&
                              detail::OffersProperty<R, &R::mimeType, std::optional<std::string>> &&
                              detail::OffersProperty<R, &R::textEncodingName, std::optional<std::string>> &&
                              detail::OffersProperty<R, &R::url, std::optional<platform::URL>> &&
                              detail::OffersProperty<R, &R::debugDescription, std::string> &&
                              detail::OffersProperty<R, &R::urlResponse, std::shared_ptr<const platform::URLResponse>>;

/// The response type of a request. It is constructed from the outcome of a task (bytes, file URL, platform response and
/// error, each possibly absent) and holds every failure in its `result`.
///
///     static_assert(HTTPResponsable<DataResponse>);
template <class R>
concept HTTPResponsable =
    HTTPResponsableBase<R> && HTTPResultable<typename R::Result> &&
    std::constructible_from<R, std::optional<platform::Data>, std::optional<platform::URL>,
                            std::shared_ptr<const platform::URLResponse>, std::optional<platform::Error>> &&
    detail::OffersProperty<R, &R::result, const typename R::Result&>;

}  // namespace corvane
