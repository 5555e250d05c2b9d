#include "Platform/Loading/Internal/UploadFile.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

std::optional<LoadFailure> UploadFile::open(const URL& url) {
  if (!url.isFileURL())
    return LoadFailure{URLErrorCode::unsupportedURL, url.absoluteString() + " is not the URL of a file"};
  if (auto failure = file_.open(url.fileSystemPath())) return failure;
  if (size() > 0) return std::nullopt;
  // Some files of the system have content though they say that they have none.
  std::byte first{};
  auto result = file_.read(0, {&first, 1});
  if (auto* failure = std::get_if<LoadFailure>(&result)) return std::move(*failure);
  if (std::get<std::size_t>(result) == 0) return std::nullopt;
  return LoadFailure{URLErrorCode::resourceUnavailable, file_.path() + ": has content of a length that is not known"};
}

std::variant<std::size_t, LoadFailure> UploadFile::read(std::span<std::byte> room) {
  const std::int64_t left = size() - offset_;
  const auto wanted = static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(room.size())));
  auto result = file_.read(offset_, room.first(wanted));
  const auto* got = std::get_if<std::size_t>(&result);
  if (!got) return result;
  const std::size_t count = *got;
  if (auto failure = advance(count)) return std::move(*failure);
  return count;
}

std::optional<LoadFailure> UploadFile::advance(std::size_t count) {
  if (count == 0 && !isAtEnd()) return lengthChanged(file_.currentSize().value_or(offset_));
  offset_ += static_cast<std::int64_t>(count);
  return isAtEnd() ? changeOfLength() : std::nullopt;
}

std::optional<LoadFailure> UploadFile::changeOfLength() const {
  if (file_.currentSize() == size()) return std::nullopt;
  return lengthChanged(file_.currentSize().value_or(0));
}

LoadFailure UploadFile::lengthChanged(std::int64_t now) const {
  return {URLErrorCode::requestBodyStreamExhausted, file_.path() + ": changed from " + std::to_string(size()) + " to " +
                                                        std::to_string(now) + " bytes while it was being sent"};
}

}  // namespace platform::detail
