#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <variant>

#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/Internal/LoadFailure.hpp"

namespace platform::detail {

/// Where the body of a request comes from, piece by piece. Loop side.
class BodySource {
 public:
  virtual ~BodySource() = default;
  /// How many bytes there are in all.
  virtual std::int64_t size() const = 0;
  /// The next bytes to be read are those from `offset` on.
  virtual void seek(std::int64_t offset) = 0;
  /// Puts the next bytes into `room`, and says how many; none at the end. A failure ends the exchange.
  virtual std::variant<std::size_t, LoadFailure> read(std::span<std::byte> room) = 0;
};

/// A body in memory.
class MemoryBody final : public BodySource {
 public:
  explicit MemoryBody(Data bytes) : bytes_(std::move(bytes)) {}

  std::int64_t size() const override { return static_cast<std::int64_t>(bytes_.count()); }
  void seek(std::int64_t offset) override { offset_ = static_cast<std::size_t>(offset); }
  std::variant<std::size_t, LoadFailure> read(std::span<std::byte> room) override {
    const std::size_t count = std::min(room.size(), bytes_.count() - std::min(offset_, bytes_.count()));
    std::memcpy(room.data(), bytes_.bytes() + offset_, count);
    offset_ += count;
    return count;
  }

 private:
  Data bytes_;
  std::size_t offset_ = 0;
};

}  // namespace platform::detail
