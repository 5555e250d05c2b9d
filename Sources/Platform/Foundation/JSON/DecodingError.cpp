#include "Platform/Foundation/JSON/DecodingError.hpp"

#include <utility>

namespace platform {

DecodingError::DecodingError(Case which, std::string problem, Place place, std::string key)
    : case_(which), problem_(std::move(problem)), place_(std::move(place)), key_(std::move(key)) {}

DecodingError DecodingError::keyNotFound(std::string key, Place place) {
  std::string problem = "the key \"" + key + "\" is missing";
  return {Case::keyNotFound, std::move(problem), std::move(place), std::move(key)};
}

DecodingError DecodingError::typeMismatch(std::string problem, Place place) {
  return {Case::typeMismatch, std::move(problem), std::move(place)};
}

DecodingError DecodingError::valueNotFound(std::string problem, Place place) {
  return {Case::valueNotFound, std::move(problem), std::move(place)};
}

DecodingError DecodingError::dataCorrupted(std::string problem, Place place) {
  return {Case::dataCorrupted, std::move(problem), std::move(place)};
}

std::string DecodingError::message() const {
  const std::string path = description(place_.codingPath);
  return path.empty() ? problem_ : path + ": " + problem_;
}

std::string DecodingError::errorDomain() const { return "DecodingError"; }

std::int64_t DecodingError::errorCode() const { return static_cast<std::int64_t>(case_); }

Dictionary DecodingError::errorUserInfo() const {
  return {{"codingPath", description(place_.codingPath)}, {"byteOffset", place_.byteOffset}};
}

}  // namespace platform
