#include "Corvane/Authentication/Internal/BodyHash.hpp"

#include <memory>

#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane::detail {

using platform::URL;
using platform::URLBodyStream;
using platform::URLRequest;
using platform::detail::MessageDigest;

namespace {

void addAll(MessageDigest& digest, URLBodyStream& stream) {
  const auto pass = stream.open();
  while (const auto piece = pass->next()) digest.add(piece->span());
  pass->interrupt();
}

}  // namespace

std::optional<std::string> hashOfBody(const URLRequest& request, const std::optional<URL>& file,
                                      platform::detail::HashFunction function) {
  MessageDigest digest(function);
  if (request.httpBodyStream) {
    if (!request.httpBodyStream->isRepeatable()) return std::nullopt;
    addAll(digest, *request.httpBodyStream);
  } else if (request.httpBody) {
    digest.add(request.httpBody->span());
  } else if (file) {
    addAll(digest, *URLBodyStream::ofFile(*file));
  }
  return digest.hex();
}

}  // namespace corvane::detail
