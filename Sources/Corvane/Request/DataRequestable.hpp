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

/// A request whose response is kept as bytes. Derive from `DataGetRequestable` or one of its siblings; or from this,
/// with a `method` of your own. `HTTPRequestable` describes the other properties and functions.
///
/// The response is a `DataResponse`, or a custom type whose `Result::Body` is `Data`.
template <class Self, class ResponseType = DataResponse>
struct DataRequestable : HTTPRequestable<Self, ResponseType> {
  static_assert(detail::checkDataResponse<ResponseType>());
};

}  // namespace corvane
