#pragma once

#include <optional>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/Internal/UploadFile.hpp"
#include "Platform/Networking/RequestBody.hpp"

namespace platform::detail {

/// A body in memory, sent from where it is.
class MemoryBody final : public networking::RequestBody {
 public:
  void set(Data bytes) {
    bytes_ = std::move(bytes);
    offset_ = 0;
  }

  std::optional<std::uint64_t> length() const override { return bytes_.count(); }
  bool rewind() override {
    offset_ = 0;
    return true;
  }
  networking::Bytes peek() override { return {bytes_.bytes() + offset_, bytes_.count() - offset_}; }
  void advance(std::size_t count) override { offset_ += count; }
  networking::BodyRead read(std::span<std::byte> room) override;

 private:
  Data bytes_;
  std::size_t offset_ = 0;
};

/// A body that is read from a file while it is sent. Keeps the reason when that fails.
class FileBody final : public networking::RequestBody {
 public:
  /// The file is open; it outlives this.
  void set(UploadFile& file) {
    file_ = &file;
    failure_.reset();
    file.seek(0);
  }
  const std::optional<LoadFailure>& failure() const { return failure_; }

  std::optional<std::uint64_t> length() const override { return static_cast<std::uint64_t>(file_->size()); }
  bool rewind() override {
    file_->seek(0);
    return !failure_;
  }
  void advance(std::size_t) override {}
  networking::BodyRead read(std::span<std::byte> room) override;
  std::optional<networking::IOResult> sendTo(networking::ByteStream& stream, std::size_t limit) override;

 private:
  bool keepsLength();

  UploadFile* file_ = nullptr;
  std::optional<LoadFailure> failure_;
};

}  // namespace platform::detail
