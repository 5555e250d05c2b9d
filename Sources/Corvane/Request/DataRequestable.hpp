#pragma once

#include <concepts>

#include "Corvane/Request/HTTPRequestable.hpp"
#include "Corvane/Responses/DataResponse.hpp"
#include "Platform/Foundation/Data.hpp"

namespace corvane {

// Compiled once, in the library, for every request with this response.
extern template class detail::ResponseExchange<DataResponse>;
extern template struct detail::SendFuture<DataResponse>;

namespace detail {
template <class Response>
constexpr bool checkDataResponse() {
  static_assert(std::same_as<BodyOf<Response>, platform::Data>,
                "The response of a data request must be a DataResponse, or a response type whose `Result::Body` is "
                "Data");
  return true;
}
}  // namespace detail

/// A request whose response is kept as bytes. Adopted with one of `DataGetRequestable` and its siblings, or with a
/// `method` of the type's own. What else you write and get: see `HTTPRequestable`.
///
/// The response is a `DataResponse`, or a type of your own whose `Result::Body` is `Data`.
template <class Self, class ResponseType = DataResponse>
struct DataRequestable : HTTPRequestable<Self, ResponseType> {
  static_assert(detail::checkDataResponse<ResponseType>());
};

}  // namespace corvane
