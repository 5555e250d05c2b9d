#include "Corvane/Errors/HTTPUploadError.hpp"

#include <utility>

namespace corvane {

HTTPUploadError::HTTPUploadError(platform::URL file) : file_(std::move(file)) {}

HTTPUploadError HTTPUploadError::fileCannotBeEncoded(platform::URL file) { return HTTPUploadError(std::move(file)); }

std::string HTTPUploadError::message() const {
  return "The file " + file_.fileSystemPath() +
         " cannot be uploaded with a content encoder: encoders work on whole buffers in memory. Upload a file that is "
         "encoded already, or its bytes.";
}

std::string HTTPUploadError::errorDomain() const { return "Corvane.HTTPUploadError"; }

std::int64_t HTTPUploadError::errorCode() const { return static_cast<std::int64_t>(which()); }

std::optional<platform::Dictionary> HTTPUploadError::additionalLogInfo() const {
  return platform::Dictionary{{"file", file_.absoluteString()}};
}

}  // namespace corvane
