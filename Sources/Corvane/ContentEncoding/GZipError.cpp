#include "Corvane/ContentEncoding/GZipError.hpp"

#include <utility>

namespace corvane {

GZipError::GZipError(Case which, std::string zlibMessage, int code)
    : case_(which), zlibMessage_(std::move(zlibMessage)), code_(code) {}

GZipError GZipError::stream(std::string zlibMessage) { return {Case::stream, std::move(zlibMessage)}; }

GZipError GZipError::data(std::string zlibMessage) { return {Case::data, std::move(zlibMessage)}; }

GZipError GZipError::memory(std::string zlibMessage) { return {Case::memory, std::move(zlibMessage)}; }

GZipError GZipError::buffer(std::string zlibMessage) { return {Case::buffer, std::move(zlibMessage)}; }

GZipError GZipError::version(std::string zlibMessage) { return {Case::version, std::move(zlibMessage)}; }

GZipError GZipError::unknown(std::string zlibMessage, int code) {
  return {Case::unknown, std::move(zlibMessage), code};
}

std::string GZipError::message() const {
  switch (case_) {
    case Case::stream:
      return "Stream structure was inconsistent: " + zlibMessage_;
    case Case::data:
      return "The input data was corrupted: " + zlibMessage_;
    case Case::memory:
      return "Not enough memory: " + zlibMessage_;
    case Case::buffer:
      return "No progress is possible or there was not enough room in the output buffer: " + zlibMessage_;
    case Case::version:
      return "The zlib library version is incompatible with the version assumed by the caller: " + zlibMessage_;
    case Case::unknown:
      return "Unknown error occurred. Code: " + std::to_string(code_) + ". Message: " + zlibMessage_;
  }
  return {};
}

std::string GZipError::errorDomain() const { return "Corvane.GZipError"; }

std::int64_t GZipError::errorCode() const { return static_cast<std::int64_t>(case_); }

}  // namespace corvane
