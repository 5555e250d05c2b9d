#pragma once

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace platform::detail {

/// What comes out of a descriptor until its end. Can be read once.
class DescriptorBody final : public URLBodyStream {
 public:
  static constexpr std::size_t pieceBytes = std::size_t{64} * 1024;

  /// Takes over the descriptor. Throws an error of the domain "NSPOSIXErrorDomain" for one that is not open.
  DescriptorBody(int descriptor, std::optional<std::uint64_t> length);

  std::optional<std::uint64_t> length() const override { return length_; }
  bool isRepeatable() const override { return false; }

 private:
  class DescriptorPass;

  std::shared_ptr<Pass> makePass() override;

  FileDescriptor descriptor_;
  const std::optional<std::uint64_t> length_;
};

}  // namespace platform::detail
