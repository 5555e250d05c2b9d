#include "Corvane/Responses/DownloadResponse.hpp"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "Corvane/DebugOutput/Detail/HTTPRequestableDebugAdditions.hpp"
#include "Corvane/Detail/ModuleLogger.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane {

using platform::Data;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URL;
using platform::URLResponse;

namespace {

// Recorded in errors and log records as they are; logs of different builds stay comparable.
constexpr const char* file = "Corvane/Responses/DownloadResponse.cpp";
constexpr const char* function = "init(data:url:response:error:)";
constexpr int lineOfFailure = 78;

/// Reading up to so many bytes takes less than handing them to another thread and back is worth.
constexpr std::uintmax_t mostBytesReadInPlace = 64 * 1024;

}  // namespace

std::optional<Error> detail::failureOfDownload(const URLResponse* response, std::optional<Error> error) {
  if (error) return error;
  const auto* const http = dynamic_cast<const HTTPURLResponse*>(response);
  if (!http) return HTTPUnknownError::downloadResponseFailedToConstruct(file, function, lineOfFailure);
  const auto status = corvane::status(*http);
  if (!isSuccess(status)) return HTTPResponseError::unacceptableStatus(status);
  return std::nullopt;
}

bool detail::saysNoContent(const URLResponse& response) {
  return status(dynamic_cast<const HTTPURLResponse&>(response)) == HTTPStatus::noContent;
}

std::optional<Error> detail::readDownload(const URL& location, Data& bytes) {
  try {
    bytes = velisand::detail::contentsOf(location);
    return std::nullopt;
  } catch (...) {
    return Error::current();
  }
}

Error detail::failureOfMaking(platform::TypeValue type) {
  // The response's error has no room for the cause.
  moduleLogger().debug("Error making " + type.name() + " of a downloaded file: " + Error::current().message(),
                       std::nullopt, std::nullopt, file, function, lineOfFailure);
  return HTTPResponseError::malformedData(type);
}

bool detail::isLongToRead(const std::optional<URL>& location) {
  if (!location || !location->isFileURL()) return false;
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(location->fileSystemPath(), error);
  return !error && size > mostBytesReadInPlace;
}

std::string detail::describeDownload(platform::TypeValue type, const ResponseRecord& record) {
  return debugStatusAndHeaders(type.name(), record.status, record.headers);
}

}  // namespace corvane
