#include "Platform/Loading/DownloadOptions.hpp"

#include <utility>

namespace platform {

bool DownloadOptions::isContent(const URLResponse& response) {
  const auto* const http = dynamic_cast<const HTTPURLResponse*>(&response);
  if (!http) return true;
  return http->statusCode() >= 200 && http->statusCode() <= 206 && http->statusCode() != 204;
}

DigestMismatch::DigestMismatch(const SHA256Digest& expected, const SHA256Digest& actual, std::string path)
    : expected_(expected), actual_(actual), path_(std::move(path)) {}

std::string DigestMismatch::message() const {
  const std::string of = path_.empty() ? "" : " of " + path_;
  return "the download" + of + " has the SHA-256 digest " + actual_.hex() + ", not " + expected_.hex() + " as expected";
}

std::string DigestMismatch::errorDomain() const { return "DigestMismatch"; }

}  // namespace platform
