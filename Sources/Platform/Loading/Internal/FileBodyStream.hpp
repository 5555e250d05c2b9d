#pragma once

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"
#include "Platform/Loading/Internal/UploadFile.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace platform::detail {

/// The content of a file, as long as it was when the stream was made.
class FileBodyStream final : public URLBodyStream {
 public:
  /// What is read at once: so much that the way over the queue costs little.
  static constexpr std::size_t pieceBytes = std::size_t{256} * 1024;

  explicit FileBodyStream(const URL& file);

  std::optional<std::uint64_t> length() const override { return length_; }
  bool isRepeatable() const override { return true; }

 private:
  class FilePass;

  std::shared_ptr<Pass> makePass() override;

  const URL url_;
  std::uint64_t length_ = 0;
};

}  // namespace platform::detail
