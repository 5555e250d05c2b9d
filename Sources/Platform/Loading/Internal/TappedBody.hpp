#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Platform/Loading/Internal/ExchangeSource.hpp"
#include "Platform/Networking/RequestBody.hpp"

namespace platform::detail {

/// The body of a request while somebody listens: every byte is told when it is taken. Loop side.
class TappedBody final : public networking::RequestBody {
 public:
  TappedBody(networking::RequestBody& body, std::shared_ptr<ExchangeTap> tap) : body_(body), tap_(std::move(tap)) {}

  std::optional<std::uint64_t> length() const override { return body_.length(); }
  bool rewind() override {
    begins_ = true;
    return body_.rewind();
  }
  networking::Bytes peek() override { return peeked_ = body_.peek(); }
  void advance(std::size_t count) override {
    tell(peeked_.first(count));
    body_.advance(count);
  }
  networking::BodyRead read(std::span<std::byte> room) override {
    const networking::BodyRead result = body_.read(room);
    tell(room.first(result.count));
    return result;
  }

 private:
  void tell(networking::Bytes bytes) {
    if (!bytes.empty()) tap_->requestBody(bytes, std::exchange(begins_, false));
  }

  networking::RequestBody& body_;
  const std::shared_ptr<ExchangeTap> tap_;
  networking::Bytes peeked_;
  bool begins_ = true;
};

}  // namespace platform::detail
