#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Loading/Internal/DestinationPath.hpp"
#include "Platform/Loading/Internal/DigestCheck.hpp"
#include "Platform/Loading/Internal/GatheredOutput.hpp"

namespace platform::detail {

/// The file that a download goes into: a fresh one in the temporary directory, which only this user may read, or one
/// beside its destination. It is removed with this value, unless it was complete and released.
class DownloadFile final : public BodySink {
 public:
  /// In the temporary directory.
  DownloadFile() = default;
  explicit DownloadFile(const DownloadOptions& options);

  /// -3000 when it cannot be made, or cannot be moved to its destination later.
  std::optional<LoadFailure> open();
  bool isOpen() const { return file_.isOpen(); }
  /// -3003 when it cannot be written, as when the disk is full; that may show with a later piece, or at the end.
  std::optional<LoadFailure> take(Bytes bytes) override;
  /// Puts every byte into it, and it in its place. -3002 when closing fails, -3003 when it cannot be written, or was
  /// removed or replaced meanwhile, -3005 when its destination was taken meanwhile. Throws a `DigestMismatch`.
  std::optional<LoadFailure> finish();
  TemporaryFile release() { return std::move(name_); }

 private:
  std::optional<LoadFailure> openTemporary();
  std::optional<LoadFailure> openBeside(const DestinationPath& destination);
  std::optional<LoadFailure> close();
  LoadFailure failure(std::int32_t code, int number) const;

  std::optional<DestinationPath> destination_;
  DigestCheck digest_;
  TemporaryFile name_;
  FileDescriptor file_;
  GatheredOutput output_;
};

/// Whether the path still is that of the open file.
bool isAtPath(const FileDescriptor& file, const std::string& path);

}  // namespace platform::detail
