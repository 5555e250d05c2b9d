#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/BodySink.hpp"
#include "Platform/Loading/Internal/DestinationPath.hpp"
#include "Platform/Loading/Internal/DigestCheck.hpp"
#include "Platform/Loading/Internal/GatheredOutput.hpp"
#include "Platform/Loading/Internal/PartialRecord.hpp"

namespace platform::detail {

/// The file of a download that can be resumed, with the record beside it. It is locked (flock(2)) from `open` to
/// `leave`, so that no other download writes to it.
class PartialFile final : public BodySink {
 public:
  static constexpr const char* partSuffix = ".corvane-part";
  static constexpr const char* recordSuffix = ".corvane-resume";

  PartialFile(const DownloadOptions& options, const URL& url);
  ~PartialFile() override { leave(); }

  /// Opens what is there, or makes it. -3000 when it cannot be made, or another user may have written what is there;
  /// -3001 while another download uses it.
  std::optional<LoadFailure> open();
  /// What is there to go on from; absent when nothing is, or it is damaged, or of another URL.
  const std::optional<PartialRecord>& kept() const { return kept_; }
  bool wantsDigest() const { return digest_.isWanted(); }
  /// Makes the digest of what is there. Any thread, while nothing else is done with it; it may take long, and ends
  /// early, with a digest of no use, when `goesOn` says no. Throws what the hasher throws, and an `Error` -3001.
  SHA256Hasher hashKept(const std::function<bool()>& goesOn) const;
  void goOnFrom(SHA256Hasher hasher) { digest_.goOnFrom(std::move(hasher)); }

  /// What comes is the rest of what is there.
  std::optional<LoadFailure> goOn();
  /// What comes is the whole. Without a validator it cannot be resumed.
  std::optional<LoadFailure> startOver(const std::optional<std::string>& validator, std::optional<std::int64_t> total);
  /// -3003 when it cannot be written; that may show with a later piece, or at the end.
  std::optional<LoadFailure> take(Bytes bytes) override;
  /// Puts every byte into it, and it in its place. Failures as those of `DownloadFile`, -1005 when it is not as long as
  /// it is to be, and -1017 when it goes beyond the end of the range that it came with.
  std::optional<LoadFailure> finish(std::optional<std::int64_t> total, std::optional<std::int64_t> end);
  TemporaryFile release() { return std::move(complete_); }

  /// Lets others use it. What has arrived is kept, where it can be resumed. Again is fine.
  void leave() noexcept;

 private:
  std::optional<LoadFailure> openPart();
  std::optional<LoadFailure> openOrMake();
  std::optional<LoadFailure> lock();
  std::optional<PartialRecord> readRecord() const;
  FileDescriptor openRecord(int flags) const;
  std::optional<LoadFailure> writeRecord(const PartialRecord& record);
  void noteLength() noexcept;
  void remove() noexcept;
  bool isWorthKeeping() const noexcept;
  bool isInPlace() const noexcept;
  std::optional<LoadFailure> checkWritten();
  std::optional<LoadFailure> checkLength(std::optional<std::int64_t> total, std::optional<std::int64_t> end);
  std::optional<LoadFailure> close();
  LoadFailure wasRemoved() const;
  LoadFailure failure(std::int32_t code, int number) const;

  const DestinationPath destination_;
  const SHA256Digest urlDigest_;
  const std::string partPath_;
  const std::string recordPath_;
  DigestCheck digest_;
  FileDescriptor part_;
  /// Open while the record is that of what is being written.
  FileDescriptor record_;
  /// Where it cannot be resumed, so that the exit of the process removes it.
  TemporaryFile name_;
  TemporaryFile complete_;
  std::optional<PartialRecord> kept_;
  GatheredOutput output_;
  std::int64_t notedLength_ = 0;
  bool isNew_ = false;
  /// Whether there was a part, of whatever. It stays until something else takes its place.
  bool wasThere_ = false;
  bool hasBegun_ = false;
  bool isLocked_ = false;
};

}  // namespace platform::detail
