#include "Platform/Foundation/JSON/EncodingError.hpp"

#include <utility>

namespace platform {

EncodingError::EncodingError(std::string problem, std::vector<CodingKey> codingPath)
    : problem_(std::move(problem)), codingPath_(std::move(codingPath)) {}

std::string EncodingError::message() const {
  const std::string path = description(codingPath_);
  return path.empty() ? problem_ : path + ": " + problem_;
}

std::string EncodingError::errorDomain() const { return "EncodingError"; }

Dictionary EncodingError::errorUserInfo() const { return {{"codingPath", description(codingPath_)}}; }

}  // namespace platform
