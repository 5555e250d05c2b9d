#include "Corvane/Errors/HTTPResponseError.hpp"

#include <utility>

namespace corvane {

using platform::Dictionary;
using platform::TypeValue;

HTTPResponseError::HTTPResponseError(Case which) : case_(which) {}

HTTPResponseError HTTPResponseError::unacceptableStatus(HTTPStatus status) {
  HTTPResponseError error(Case::unacceptableStatus);
  error.status_ = status;
  return error;
}

HTTPResponseError HTTPResponseError::malformedData(TypeValue type) {
  HTTPResponseError error(Case::malformedData);
  error.type_ = type;
  return error;
}

HTTPResponseError HTTPResponseError::jsonDecoding(TypeValue type, platform::Error underlyingError, std::string json) {
  HTTPResponseError error(Case::jsonDecoding);
  error.type_ = type;
  error.underlyingError_ = std::move(underlyingError);
  error.json_ = std::move(json);
  return error;
}

HTTPResponseError HTTPResponseError::taskCancelled() { return HTTPResponseError(Case::taskCancelled); }

HTTPResponseError HTTPResponseError::noContent() { return HTTPResponseError(Case::noContent); }

std::string HTTPResponseError::message() const {
  switch (case_) {
    case Case::unacceptableStatus:
      return "HTTPStatus: " + std::string(status_->name()) + ":" + std::to_string(status_->rawValue()) +
             " is unacceptable";
    case Case::malformedData:
      return "Data was malformed for type: " + type_->name();
    case Case::jsonDecoding:
      return "JSON decoding failure for type: " + type_->name() + " with json:\n" + *json_;
    case Case::taskCancelled:
      return "Task has been cancelled";
    case Case::noContent:
      return "noContent";
  }
  return {};
}

std::string HTTPResponseError::errorDomain() const { return "Corvane.HTTPResponseError"; }

std::int64_t HTTPResponseError::errorCode() const { return static_cast<std::int64_t>(case_); }

std::optional<Dictionary> HTTPResponseError::additionalLogInfo() const {
  switch (case_) {
    case Case::unacceptableStatus:
      return Dictionary{{"HTTPStatusCode", status_->rawValue()}};
    case Case::malformedData:
      return Dictionary{{"Type", *type_}};
    case Case::jsonDecoding:
      return Dictionary{
          {"Type", *type_}, {"DecodingError", vantorel::createLogInfoDictionary(*underlyingError_)}, {"json", *json_}};
    case Case::taskCancelled:
    case Case::noContent:
      return std::nullopt;
  }
  return std::nullopt;
}

bool operator==(const HTTPResponseError& left, const HTTPResponseError& right) {
  return left.case_ == right.case_ && left.status_ == right.status_ && left.type_ == right.type_ &&
         left.underlyingError_ == right.underlyingError_ && left.json_ == right.json_;
}

}  // namespace corvane
