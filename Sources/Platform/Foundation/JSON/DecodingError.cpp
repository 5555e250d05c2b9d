#include "Platform/Foundation/JSON/DecodingError.hpp"

#include <utility>

namespace platform {

DecodingError::DecodingError(Case which, std::string problem, Location location, std::string key)
    : case_(which), problem_(std::move(problem)), location_(std::move(location)), key_(std::move(key)) {}

DecodingError DecodingError::keyNotFound(std::string key, Location location) {
  std::string problem = "the key \"" + key + "\" is missing";
  return {Case::keyNotFound, std::move(problem), std::move(location), std::move(key)};
}

DecodingError DecodingError::typeMismatch(std::string problem, Location location) {
  return {Case::typeMismatch, std::move(problem), std::move(location)};
}

DecodingError DecodingError::valueNotFound(std::string problem, Location location) {
  return {Case::valueNotFound, std::move(problem), std::move(location)};
}

DecodingError DecodingError::dataCorrupted(std::string problem, Location location) {
  return {Case::dataCorrupted, std::move(problem), std::move(location)};
}

std::string DecodingError::message() const {
  const std::string path = description(location_.codingPath);
  return path.empty() ? problem_ : path + ": " + problem_;
}

std::string DecodingError::errorDomain() const { return "DecodingError"; }

std::int64_t DecodingError::errorCode() const { return static_cast<std::int64_t>(case_); }

Dictionary DecodingError::errorUserInfo() const {
  return {{"codingPath", description(location_.codingPath)}, {"byteOffset", location_.byteOffset}};
}

}  // namespace platform
