#include "Platform/Loading/Internal/UploadBody.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform::detail {

using networking::BodyRead;
using networking::BodyStatus;
using networking::IOResult;
using networking::IOStatus;

BodyRead MemoryBody::read(std::span<std::byte> room) {
  const std::size_t count = std::min(room.size(), bytes_.count() - offset_);
  if (count == 0) return {BodyStatus::end, 0};
  std::memcpy(room.data(), bytes_.bytes() + offset_, count);
  offset_ += count;
  return {BodyStatus::bytes, count};
}

BodyRead FileBody::read(std::span<std::byte> room) {
  if (file_->isAtEnd()) return {BodyStatus::end, 0};
  auto result = file_->read(room);
  if (auto* failure = std::get_if<LoadFailure>(&result)) {
    failure_ = std::move(*failure);
    return {BodyStatus::failed, 0};
  }
  return {BodyStatus::bytes, std::get<std::size_t>(result)};
}

bool FileBody::keepsLength() {
  failure_ = file_->changeOfLength();
  return !failure_;
}

std::optional<IOResult> FileBody::sendTo(networking::ByteStream& stream, std::size_t limit) {
  if (stream.isSecure() || file_->isAtEnd()) return std::nullopt;
  const auto left = static_cast<std::size_t>(file_->size() - file_->offset());
  // Looked at before the last bytes are out, and with them a request that the server takes for whole.
  if (left <= limit && !keepsLength()) return IOResult{.status = IOStatus::failed};
  IOResult result = stream.sendFile(file_->descriptor(), file_->offset(), std::min(left, limit));
  if (result.status != IOStatus::done) return result;
  if (auto failure = file_->advance(result.count)) {
    failure_ = std::move(*failure);
    return IOResult{.status = IOStatus::failed};
  }
  return result;
}

}  // namespace platform::detail
