#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"

namespace platform::detail {

/// The file that a download goes into: a fresh one in the temporary directory, which only this user may read. It
/// is removed with this value, unless it was complete and released.
class DownloadFile final : public BodySink {
 public:
  /// -3000 when it cannot be made.
  std::optional<LoadFailure> open();
  bool isOpen() const { return file_.isOpen(); }
  /// -3003 when it cannot be written, as when the disk is full; that may show with a later piece, or at the end.
  std::optional<LoadFailure> take(Bytes bytes) override;
  /// Puts every byte into it. -3002 when closing fails, -3003 when it cannot be written, or was removed or replaced
  /// meanwhile.
  std::optional<LoadFailure> finish();
  TemporaryFile release() { return std::move(name_); }

 private:
  std::optional<LoadFailure> writeGathered();
  bool isAtItsPath() const;
  LoadFailure failure(std::int32_t code, const std::string& reason) const;

  TemporaryFile name_;
  FileDescriptor file_;
  /// The bytes that are to be written next; made when there are any.
  std::unique_ptr<std::byte[]> gathered_;
  std::size_t gatheredBytes_ = 0;
};

}  // namespace platform::detail
