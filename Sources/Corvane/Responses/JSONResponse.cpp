#include "Corvane/Responses/JSONResponse.hpp"

#include "Corvane/Detail/ModuleLogger.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Errors/HTTPUnknownError.hpp"
#include "Corvane/Settings.hpp"
#include "Vantorel/Logger.hpp"

namespace corvane {

using platform::Data;
using platform::DecodingError;
using platform::Error;
using platform::HTTPURLResponse;
using platform::URLResponse;

namespace {

// Recorded in errors and log records as they are; logs of different builds stay comparable.
constexpr const char* sourceFile = "Corvane/Responses/JSONResponse.cpp";
constexpr const char* initializer = "init(data:url:response:error:)";
constexpr int lineOfNothingToDecode = 70;
constexpr int lineOfDecodingError = 73;
constexpr int lineOfUnknownError = 77;
constexpr int lineOfUnableToParse = 78;

/// Decoding up to so many bytes takes less than handing them to another thread and back is worth.
constexpr std::size_t mostBytesInPlace = 64 * 1024;

std::string textOf(const std::optional<Data>& data) {
  return data ? data->utf8().value_or(std::string()) : std::string();
}

/// What is logged of a document unless all is asked for.
constexpr std::size_t mostBytesLogged = 4 * 1024;

std::string shownText(const std::string& text) {
  if (text.size() <= mostBytesLogged || Corvane::verbosity == HTTPVerbosityLevel::verbose) return text;
  std::size_t end = mostBytesLogged;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) --end;  // not inside a character
  return text.substr(0, end) + "… (" + std::to_string(text.size()) + " bytes in all)";
}

void log(const char* what, platform::TypeValue type, const std::string& text, int line) {
  detail::moduleLogger().debug(
      std::string(what) + " decoding json of type " + type.name() + " with json: \n " + shownText(text), std::nullopt,
      std::nullopt, sourceFile, initializer, line);
}

}  // namespace

std::optional<Error> detail::failureBeforeDecoding(const std::optional<Data>& data, const URLResponse* response,
                                                   std::optional<Error> error) {
  if (error) return error;
  const auto* const http = dynamic_cast<const HTTPURLResponse*>(response);
  if (http) {
    const auto status = corvane::status(*http);
    if (!isSuccess(status)) return HTTPResponseError::unacceptableStatus(status);
    if (data) return std::nullopt;
  }
  return HTTPUnknownError::jsonResponseFailedToConstruct(textOf(data), sourceFile, initializer, lineOfNothingToDecode);
}

Error detail::failureOfDecoding(const Data& data, platform::TypeValue type) {
  std::string text = textOf(data);
  const Error error = Error::current();
  if (error.is<DecodingError>()) {
    log("Error", type, text, lineOfDecodingError);
    return HTTPResponseError::jsonDecoding(type, error, std::move(text));
  }
  log("Unknown error", type, text, lineOfUnknownError);
  return HTTPUnknownError::unableToParseJSON(std::move(text), error, sourceFile, initializer, lineOfUnableToParse);
}

bool detail::isLongToDecode(const std::optional<Data>& data) { return data && data->count() > mostBytesInPlace; }

}  // namespace corvane
