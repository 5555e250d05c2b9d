#pragma once

#include <memory>
#include <optional>

#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane::detail {

/// A stream, compressed while it is read.
class GzipBodyStream final : public platform::URLBodyStream {
 public:
  /// What is handed on at once.
  static constexpr std::size_t pieceBytes = std::size_t{64} * 1024;

  explicit GzipBodyStream(std::shared_ptr<platform::URLBodyStream> original) : original_(std::move(original)) {}

  std::optional<std::uint64_t> length() const override { return std::nullopt; }
  bool isRepeatable() const override { return original_->isRepeatable(); }

 private:
  class GzipPass;

  std::shared_ptr<Pass> makePass() override;
  bool arePartsExhausted() const override { return original_->isExhausted(); }

  const std::shared_ptr<platform::URLBodyStream> original_;
};

}  // namespace corvane::detail
