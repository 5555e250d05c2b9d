#include "Corvane/Errors/HTTPStreamError.hpp"

#include <utility>

namespace corvane {

HTTPStreamError::HTTPStreamError(Case which) : case_(which) {}

HTTPStreamError HTTPStreamError::lineTooLong(std::uint64_t line, std::size_t maximumBytes) {
  HTTPStreamError error(Case::lineTooLong);
  error.line_ = line;
  error.maximumBytes_ = maximumBytes;
  return error;
}

HTTPStreamError HTTPStreamError::malformedLine(std::uint64_t line, platform::Error underlyingError) {
  HTTPStreamError error(Case::malformedLine);
  error.line_ = line;
  error.underlyingError_ = std::move(underlyingError);
  return error;
}

HTTPStreamError HTTPStreamError::eventTooLong(std::size_t maximumBytes) {
  HTTPStreamError error(Case::eventTooLong);
  error.maximumBytes_ = maximumBytes;
  return error;
}

HTTPStreamError HTTPStreamError::unexpectedContentType(std::string contentType) {
  HTTPStreamError error(Case::unexpectedContentType);
  error.contentType_ = std::move(contentType);
  return error;
}

std::string HTTPStreamError::message() const {
  switch (case_) {
    case Case::lineTooLong:
      return "Line " + std::to_string(line_) + " of the stream has more than " + std::to_string(maximumBytes_) +
             " bytes";
    case Case::malformedLine:
      return "Line " + std::to_string(line_) + " of the stream: " + underlyingError_->message();
    case Case::eventTooLong:
      return "An event of the stream has more than " + std::to_string(maximumBytes_) + " bytes";
    case Case::unexpectedContentType:
      break;
  }
  return "The response is no stream of events: its type is " +
         (contentType_.empty() ? "not given" : "\"" + contentType_ + "\"") + ", not \"text/event-stream\"";
}

std::string HTTPStreamError::errorDomain() const { return "Corvane.HTTPStreamError"; }

std::int64_t HTTPStreamError::errorCode() const { return static_cast<std::int64_t>(case_); }

bool operator==(const HTTPStreamError& left, const HTTPStreamError& right) {
  return left.case_ == right.case_ && left.line_ == right.line_ && left.maximumBytes_ == right.maximumBytes_ &&
         left.underlyingError_ == right.underlyingError_ && left.contentType_ == right.contentType_;
}

}  // namespace corvane
