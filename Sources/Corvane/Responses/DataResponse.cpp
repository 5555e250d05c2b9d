#include "Corvane/Responses/DataResponse.hpp"

#include <utility>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"

namespace corvane {

using platform::Data;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URL;
using platform::URLResponse;

namespace {

// Recorded in the error as they are; logs of different builds stay comparable.
constexpr const char* failureFile = "Corvane/Responses/DataResponse.cpp";
constexpr const char* failureFunction = "init(data:url:response:error:)";
constexpr int failureLine = 54;

DataResult judge(const std::optional<Data>& data, const URLResponse* response, std::optional<Error> error) {
  if (error) return DataResult::failure(std::move(*error));
  const auto* http = dynamic_cast<const HTTPURLResponse*>(response);
  if (!http)
    return DataResult::failure(
        HTTPUnknownError::dataResponseFailedToConstruct(failureFile, failureFunction, failureLine));
  const auto status = corvane::status(*http);
  if (!isSuccess(status)) return DataResult::failure(HTTPResponseError::unacceptableStatus(status));
  return DataResult::success(data);
}

}  // namespace

DataResponse::DataResponse(std::optional<Data> bytes, std::optional<URL>, std::shared_ptr<const URLResponse> response,
                           std::optional<Error> error)
    : ResponseRecord(of(response, bytes)), result(judge(bytes, response.get(), std::move(error))) {}

DataResponse::DataResponse(std::shared_ptr<const URLResponse> response, std::optional<Data> bytes, Error error)
    : ResponseRecord(of(std::move(response), std::move(bytes))), result(DataResult::failure(std::move(error))) {}

DataResponse::DataResponse(DataResult known, std::optional<Data> bytes, std::shared_ptr<const HTTPURLResponse> response)
    : ResponseRecord(of(std::move(response), std::move(bytes))), result(std::move(known)) {}

DataResponse::DataResponse(DataResult known, ResponseRecord record)
    : ResponseRecord(std::move(record)), result(std::move(known)) {}

std::string DataResponse::debugDescription() const { return describe("DataResponse", *this, result.error()); }

}  // namespace corvane
