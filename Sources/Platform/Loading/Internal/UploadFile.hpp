#pragma once

#include <optional>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/BodySource.hpp"
#include "Platform/Loading/Internal/ReadableFile.hpp"

namespace platform::detail {

/// A body that is read from a file while it is sent. The length is that of the file when it was opened: a file
/// that turns out shorter or longer by the time its end is sent is a failure, since half of something was sent.
class UploadFile final : public BodySource {
 public:
  /// Failures: -1002 for the URL of no file, -1008 for a file that does not know its length, and those of
  /// `ReadableFile::open`.
  std::optional<LoadFailure> open(const URL& url);

  std::int64_t size() const override { return file_.size(); }
  void seek(std::int64_t offset) override { offset_ = offset; }
  /// Failures: -1021 when the file changed its length, and those of `ReadableFile::read`.
  std::variant<std::size_t, LoadFailure> read(std::span<std::byte> room) override;

 private:
  LoadFailure lengthChanged(std::int64_t now) const;

  ReadableFile file_;
  std::int64_t offset_ = 0;
};

}  // namespace platform::detail
