#include "Corvane/Errors/HTTPUnknownError.hpp"

#include <utility>

namespace corvane {

using platform::Dictionary;
using platform::Error;

HTTPUnknownError::HTTPUnknownError(Case which, std::string file, std::string function, int line)
    : case_(which), file_(std::move(file)), function_(std::move(function)), line_(line) {}

HTTPUnknownError HTTPUnknownError::completionWithoutResponseFromPolling(std::string file, std::string function,
                                                                        int line) {
  return {Case::completionWithoutResponseFromPolling, std::move(file), std::move(function), line};
}

HTTPUnknownError HTTPUnknownError::futureFailedToMapBody(std::string file, std::string function, int line) {
  return {Case::futureFailedToMapBody, std::move(file), std::move(function), line};
}

HTTPUnknownError HTTPUnknownError::downloadResponseFailedToConstruct(std::string file, std::string function, int line) {
  return {Case::downloadResponseFailedToConstruct, std::move(file), std::move(function), line};
}

HTTPUnknownError HTTPUnknownError::jsonResponseFailedToConstruct(std::string json, std::string file,
                                                                 std::string function, int line) {
  HTTPUnknownError error(Case::jsonResponseFailedToConstruct, std::move(file), std::move(function), line);
  error.json_ = std::move(json);
  return error;
}

HTTPUnknownError HTTPUnknownError::dataResponseFailedToConstruct(std::string file, std::string function, int line) {
  return {Case::dataResponseFailedToConstruct, std::move(file), std::move(function), line};
}

HTTPUnknownError HTTPUnknownError::unableToParseJSON(std::string json, Error originalError, std::string file,
                                                     std::string function, int line) {
  HTTPUnknownError error(Case::unableToParseJSON, std::move(file), std::move(function), line);
  error.json_ = std::move(json);
  error.originalError_ = std::move(originalError);
  return error;
}

HTTPUnknownError HTTPUnknownError::unknownFutureState(std::string file, std::string function, int line) {
  return {Case::unknownFutureState, std::move(file), std::move(function), line};
}

std::string HTTPUnknownError::message() const {
  const std::string place = "\nFile:" + file_ + "\nFunction:" + function_ + "\nLine:" + std::to_string(line_);
  switch (case_) {
    case Case::completionWithoutResponseFromPolling:
    case Case::unknownFutureState:  // shares the text of the polling case, by definition
      return "Completion without response from polling." + place;
    case Case::futureFailedToMapBody:
      return "Future failed to map body " + place;
    case Case::downloadResponseFailedToConstruct:
      return "Download response failed to construct." + place;
    case Case::jsonResponseFailedToConstruct:
      return "json response failed to construct." + place + "\njson:" + *json_;
    case Case::dataResponseFailedToConstruct:
      return "Data response failed to construct." + place;
    case Case::unableToParseJSON:
      return "Unable to parse json: " + *json_ + place;
  }
  return {};
}

std::string HTTPUnknownError::errorDomain() const { return "Corvane.HTTPUnknownError"; }

std::int64_t HTTPUnknownError::errorCode() const { return static_cast<std::int64_t>(case_); }

std::optional<Dictionary> HTTPUnknownError::additionalLogInfo() const {
  Dictionary info{{"file", file_}, {"function", function_}, {"line", line_}};
  if (json_) info.set("json", *json_);
  if (originalError_) {
    info.set("originalError", platform::AnyValue::Deferred(
                                  [error = *originalError_] { return vantorel::createLogInfoDictionary(error); }));
  }
  return info;
}

bool operator==(const HTTPUnknownError& left, const HTTPUnknownError& right) {
  return left.case_ == right.case_ && left.file_ == right.file_ && left.function_ == right.function_ &&
         left.line_ == right.line_ && left.json_ == right.json_ && left.originalError_ == right.originalError_;
}

}  // namespace corvane
