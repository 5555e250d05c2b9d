#include "Platform/Loading/Internal/GatheredOutput.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Platform/Foundation/Internal/FileWriting.hpp"

namespace platform::detail {

namespace {

/// How much is written at once. A body comes in pieces of 64 KiB at most. Writing each by itself would cost more than
/// the copy that gathers them, since a file system keeps a file in units that are larger, and walks through a whole one
/// at each write.
constexpr std::size_t gatheringBytes = 128 * 1024;

}  // namespace

int GatheredOutput::take(const FileDescriptor& file, Bytes bytes) {
  if (!gathered_) gathered_ = std::make_unique_for_overwrite<std::byte[]>(gatheringBytes);
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), gatheringBytes - gatheredBytes_);
    std::memcpy(gathered_.get() + gatheredBytes_, bytes.data(), count);
    gatheredBytes_ += count;
    bytes = bytes.subspan(count);
    if (gatheredBytes_ < gatheringBytes) continue;
    if (const int number = flush(file); number != 0) return number;
  }
  return 0;
}

int GatheredOutput::flush(const FileDescriptor& file) noexcept {
  Bytes bytes(gathered_.get(), std::exchange(gatheredBytes_, 0));
  while (!bytes.empty()) {
    const ssize_t count = writingToFile([&] { return ::write(file.number(), bytes.data(), bytes.size()); });
    if (count < 0) return errno;
    written_ += count;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace platform::detail
