#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"

namespace platform::detail {

/// Writes bytes into a file in large pieces, from where the file stands. Its functions return the system's error
/// number, 0 when all went well.
class GatheredOutput {
 public:
  /// A failure may show with a later piece, or with `flush`.
  int take(const FileDescriptor& file, Bytes bytes);
  int flush(const FileDescriptor& file) noexcept;
  /// How many bytes are in the file by now.
  std::int64_t written() const { return written_; }
  /// Forgets what is gathered: the file stands elsewhere, with that many bytes before.
  void restart(std::int64_t written) {
    gatheredBytes_ = 0;
    written_ = written;
  }

 private:
  /// The bytes that are to be written next; made when there are any.
  std::unique_ptr<std::byte[]> gathered_;
  std::size_t gatheredBytes_ = 0;
  std::int64_t written_ = 0;
};

}  // namespace platform::detail
