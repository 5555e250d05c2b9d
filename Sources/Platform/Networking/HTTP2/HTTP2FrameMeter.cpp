#include "Platform/Networking/HTTP2/HTTP2FrameMeter.hpp"

#include <nghttp2/nghttp2.h>

#include <algorithm>

namespace platform::networking {

HTTP2FrameMeter::Verdict HTTP2FrameMeter::take(Bytes bytes, TimePoint now) {
  Verdict verdict;
  std::size_t at = 0;
  if (headerFilled_ > 0) {
    at = fill(bytes);
    if (headerFilled_ < headerBytes) return verdict;
    headerFilled_ = 0;
    carried_ = header_;
    verdict.problem = takeHeader(now);
    if (verdict.problem) return verdict;
    verdict.header = carried_;
  }
  const std::size_t begin = at;
  while (at < bytes.size()) {
    const std::size_t payload = std::min(payloadLeft_, bytes.size() - at);
    payloadLeft_ -= payload;
    at += payload;
    const std::size_t count = fill(bytes.subspan(at));
    if (headerFilled_ < headerBytes) break;
    headerFilled_ = 0;
    verdict.problem = takeHeader(now);
    if (verdict.problem) break;
    at += count;
  }
  verdict.rest = bytes.subspan(begin, at - begin);
  return verdict;
}

/// How many of the bytes belong to the header.
std::size_t HTTP2FrameMeter::fill(Bytes bytes) {
  const std::size_t count = std::min(headerBytes - headerFilled_, bytes.size());
  std::copy_n(bytes.begin(), count, header_.begin() + static_cast<std::ptrdiff_t>(headerFilled_));
  headerFilled_ += count;
  return count;
}

std::optional<std::string_view> HTTP2FrameMeter::takeHeader(TimePoint now) {
  const auto byte = [this](std::size_t place) { return std::to_integer<std::size_t>(header_[place]); };
  payloadLeft_ = byte(0) << 16U | byte(1) << 8U | byte(2);
  const std::size_t type = byte(3);
  const bool isPadded = (byte(4) & NGHTTP2_FLAG_PADDED) != 0;
  if (type == NGHTTP2_PUSH_PROMISE) return "the server pushed a response, though pushing is switched off";
  continuations_ = type == NGHTTP2_CONTINUATION ? continuations_ + 1 : 0;
  if (continuations_ > maximumContinuations) return "the server sends a head in too many pieces";
  if (type == NGHTTP2_DATA) {
    // Padding takes up to 256 bytes, its length included.
    const bool carriesBytes = payloadLeft_ > (isPadded ? 256U : 0U);
    if (carriesBytes) {
      earn(1);
      return std::nullopt;
    }
  }
  if (!spend(now)) return "the server floods the connection with frames that carry nothing";
  return std::nullopt;
}

bool HTTP2FrameMeter::spend(TimePoint now) {
  if (left_ == 0) {
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(now - refilled_).count();
    earn(std::clamp<std::int64_t>(passed, 0, 1000 * allowance) * allowancePerSecond / 1000);
    refilled_ = now;
    if (left_ == 0) return false;
  }
  --left_;
  return true;
}

}  // namespace platform::networking
