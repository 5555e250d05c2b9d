#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/Networking/Loop/NetworkClock.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

/// Walks the frames that a server sends without looking into them, puts their headers together, and notices a flood.
///
/// Frames that carry nothing (pings, settings, priorities, window updates, resets, empty or merely padded DATA, head
/// blocks in pieces, unknown ones) use up an allowance. Requests, the bytes of their bodies and of responses' bodies
/// refill it, and so does time, so that no well-behaved server ever comes to its end.
class HTTP2FrameMeter {
 public:
  static constexpr std::int64_t allowance = 1000;
  static constexpr std::int64_t allowancePerSecond = 100;
  /// What a request adds: its head and trailers, an interim response, a reset, window updates.
  static constexpr std::int64_t allowancePerRequest = 16;

  explicit HTTP2FrameMeter(TimePoint now) : refilled_(now) {}

  /// So many frames may follow a HEADERS frame that does not end its head: enough for 256 KiB.
  static constexpr int maximumContinuations = 20;

  struct Verdict {
    /// A frame's header that began in earlier bytes; or empty. To be handled first.
    Bytes header;
    /// What is to be handled of the bytes; the beginning of a header is kept back until its end is there.
    Bytes rest;
    /// Why the connection is to be cut off after that, as a sentence for developers.
    std::optional<std::string_view> problem;
  };

  /// Takes the next bytes of the stream. What it gives lives until the next call.
  Verdict take(Bytes bytes, TimePoint now);
  void requestSent() { earn(allowancePerRequest); }
  /// A DATA frame was sent; a server may acknowledge small parts of it by window updates.
  void dataSent(std::size_t count) { earn(4 + static_cast<std::int64_t>(count / 256)); }

 private:
  static constexpr std::size_t headerBytes = 9;

  void earn(std::int64_t frames) { left_ = left_ + frames < allowance ? left_ + frames : allowance; }
  std::size_t fill(Bytes bytes);
  std::optional<std::string_view> takeHeader(TimePoint now);
  bool spend(TimePoint now);

  std::array<std::byte, headerBytes> header_{};
  std::array<std::byte, headerBytes> carried_{};
  std::size_t headerFilled_ = 0;
  int continuations_ = 0;
  std::size_t payloadLeft_ = 0;
  std::int64_t left_ = allowance;
  TimePoint refilled_;
};

}  // namespace platform::networking
