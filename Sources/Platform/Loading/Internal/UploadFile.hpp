#pragma once

#include <optional>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/Internal/ReadableFile.hpp"

namespace platform::detail {

/// A body that is read from a file while it is sent. The length is that of the file when it was opened: a file
/// that turns out shorter or longer by the time its end is sent is a failure, since half of something was sent.
class UploadFile {
 public:
  /// Failures: -1002 for the URL of no file, -1008 for a file that does not know its length, and those of
  /// `ReadableFile::open`.
  std::optional<LoadFailure> open(const URL& url);

  std::int64_t size() const { return file_.size(); }
  /// Where the next bytes are.
  std::int64_t offset() const { return offset_; }
  bool isAtEnd() const { return offset_ == size(); }
  int descriptor() const { return file_.descriptor(); }
  void seek(std::int64_t offset) { offset_ = offset; }
  /// -1021 when the file is no longer as long as it was.
  std::optional<LoadFailure> changeOfLength() const;
  /// So many of the next bytes were sent straight from the descriptor; none means that there were none. Fails as
  /// `read`.
  std::optional<LoadFailure> advance(std::size_t count);
  /// Failures: -1021 when the file changed its length, and those of `ReadableFile::read`.
  std::variant<std::size_t, LoadFailure> read(std::span<std::byte> room);

 private:
  LoadFailure lengthChanged(std::int64_t now) const;

  ReadableFile file_;
  std::int64_t offset_ = 0;
};

}  // namespace platform::detail
