#include "Platform/Networking/HTTP1/ChunkDecoder.hpp"

#include <algorithm>
#include <limits>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::uint64_t maximumSize = std::numeric_limits<std::int64_t>::max();

}  // namespace

ChunkDecoder::Step ChunkDecoder::next(std::string_view input) {
  std::size_t at = 0;
  while (at < input.size()) {
    if (phase_ == Phase::data) {
      const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, input.size() - at));
      skipBody(count);
      return {Event::body, at + count, count};
    }
    const Event event = take(input[at++]);
    if (event != Event::incomplete) return {event, at, 0};
  }
  return {Event::incomplete, at, 0};
}

void ChunkDecoder::skipBody(std::uint64_t count) {
  remaining_ -= count;
  bodyBytes_ += count;
  if (remaining_ == 0) phase_ = Phase::dataReturn;
}

ChunkDecoder::Event ChunkDecoder::failed(std::string_view problem) {
  problem_ = problem;
  return Event::failed;
}

ChunkDecoder::Event ChunkDecoder::take(char c) {
  switch (phase_) {
    case Phase::firstDigit:
    case Phase::digits:
      return takeDigit(c);
    case Phase::padding:
      return takeAfterSize(c);
    case Phase::extension:
      return takeExtension(c);
    case Phase::lineFeed:
      return endLine(c);
    case Phase::dataReturn:
      if (c != '\r') break;
      phase_ = Phase::dataLineFeed;
      return Event::incomplete;
    case Phase::dataLineFeed:
      if (c != '\n') break;
      phase_ = Phase::firstDigit;
      return Event::incomplete;
    case Phase::data:
      break;
  }
  return failed("a chunk of the body does not end where its size says");
}

ChunkDecoder::Event ChunkDecoder::takeDigit(char c) {
  const int digit = detail::hexadecimalValue(c);
  if (phase_ == Phase::firstDigit) {
    if (digit < 0) return failed("the size of a chunk of the body is no hexadecimal number");
    phase_ = Phase::digits;
    remaining_ = 0;
    digits_ = 0;
    lineBytes_ = 0;
  }
  ++lineBytes_;
  if (digit < 0) return takeAfterSize(c);
  if (++digits_ > maximumDigits || remaining_ > maximumSize >> 4) {
    return failed("the size of a chunk of the body is too large");
  }
  remaining_ = remaining_ << 4 | static_cast<unsigned>(digit);
  return Event::incomplete;
}

ChunkDecoder::Event ChunkDecoder::takeAfterSize(char c) {
  if (c == '\r') {
    phase_ = Phase::lineFeed;
  } else if (c == ';') {
    phase_ = Phase::extension;
    return takeExtension(c);
  } else if (detail::isSpaceOrTab(c)) {
    phase_ = Phase::padding;
    return takeExtension(c);
  } else {
    return failed("the size of a chunk of the body is no hexadecimal number");
  }
  return Event::incomplete;
}

ChunkDecoder::Event ChunkDecoder::takeExtension(char c) {
  if (++lineBytes_ > maximumLineBytes || ++extensionBytes_ > extensionAllowance + bodyBytes_) {
    return failed("the chunks of the body have too long extensions");
  }
  if (c == '\n' || c == '\0') return failed("an extension of a chunk of the body holds a control character");
  if (c == '\r') phase_ = Phase::lineFeed;
  return Event::incomplete;
}

ChunkDecoder::Event ChunkDecoder::endLine(char c) {
  if (c != '\n') return failed("the line of a chunk's size holds a control character");
  if (remaining_ == 0) return Event::lastChunk;
  phase_ = Phase::data;
  return Event::incomplete;
}

}  // namespace platform::networking
