#pragma once

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
  /// -3003 when it cannot be written, as when the disk is full.
  std::optional<LoadFailure> take(Bytes bytes) override;
  /// Every byte is in it. -3002 when closing fails, -3003 when it was removed or replaced meanwhile.
  std::optional<LoadFailure> finish();
  TemporaryFile release() { return std::move(name_); }

 private:
  bool isAtItsPath() const;
  LoadFailure failure(std::int32_t code, const std::string& reason) const;

  TemporaryFile name_;
  FileDescriptor file_;
};

}  // namespace platform::detail
