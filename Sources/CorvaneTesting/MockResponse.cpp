#include "CorvaneTesting/MockResponse.hpp"

#include <string_view>
#include <utility>

#include "Corvane/HTTPStatus.hpp"
#include "CorvaneTesting/Compression.hpp"

namespace corvane::testkit {

namespace {

using AfterBytes = std::optional<std::uint64_t>;

}  // namespace

std::string reasonPhrase(int status) {
  const std::string_view phrase = corvane::HTTPStatus::of(status).reasonPhrase();
  return std::string(phrase.empty() ? "Unknown" : phrase);
}

std::string generatedBytes(std::size_t count, std::uint64_t offset) {
  std::string bytes(count, '\0');
  auto value = static_cast<unsigned>(offset % generatedPeriod);
  for (char& byte : bytes) {
    byte = static_cast<char>(value);
    value = value + 1 == generatedPeriod ? 0 : value + 1;
  }
  return bytes;
}

MockResponse::MockResponse(int status, std::optional<std::string> reason)
    : status_(status), reason_(reason ? std::move(*reason) : reasonPhrase(status)) {}

MockResponse MockResponse::raw(std::string bytes) {
  MockResponse response;
  response.raw_ = std::move(bytes);
  return response;
}

MockResponse& MockResponse::header(std::string name, std::string value) {
  headers_.push_back({std::move(name), std::move(value)});
  return *this;
}

MockResponse& MockResponse::interim(int status, std::vector<HeaderField> headers) {
  interim_ += "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) + "\r\n";
  for (const HeaderField& field : headers) interim_ += field.name + ": " + field.value + "\r\n";
  interim_ += "\r\n";
  return *this;
}

MockResponse& MockResponse::body(std::string bytes) {
  body_ = std::move(bytes);
  generatedSize_.reset();
  return *this;
}

MockResponse& MockResponse::gzipBody(std::string_view text) {
  return header("Content-Encoding", "gzip").body(gzipped(text));
}

MockResponse& MockResponse::generatedBody(std::uint64_t size) {
  body_.clear();
  generatedSize_ = size;
  return *this;
}

MockResponse& MockResponse::chunked(std::vector<Chunk> chunks) {
  framing_ = Framing::chunks;
  chunks_ = std::move(chunks);
  return *this;
}

MockResponse& MockResponse::chunkedBy(std::size_t chunkSize) {
  framing_ = Framing::chunks;
  chunkSize_ = chunkSize;
  return *this;
}

MockResponse& MockResponse::trailer(std::string name, std::string value) {
  trailers_.push_back({std::move(name), std::move(value)});
  return *this;
}

MockResponse& MockResponse::withoutLastChunk() {
  hasLastChunk_ = false;
  return *this;
}

MockResponse& MockResponse::untilClose() {
  framing_ = Framing::untilClose;
  closes_ = true;
  return *this;
}

MockResponse& MockResponse::delay(Moment moment, Milliseconds duration, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, Pause{duration}});
  return *this;
}

MockResponse& MockResponse::delayChunks(Milliseconds duration) {
  chunkDelay_ = duration;
  return *this;
}

MockResponse& MockResponse::throttle(std::size_t bytes, Milliseconds tick) {
  throttleBytes_ = bytes;
  throttleTick_ = tick;
  return *this;
}

MockResponse& MockResponse::hold(Moment moment, Latch latch, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, std::move(latch)});
  return *this;
}

MockResponse& MockResponse::beforeRequestBody(std::uint64_t afterBytes) {
  respondsBeforeRest_ = afterBytes;
  return *this;
}

MockResponse& MockResponse::closeConnection() {
  closes_ = true;
  return header("Connection", "close");
}

MockResponse& MockResponse::end(Ending ending, Moment moment, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, ending});
  return *this;
}

MockResponse& MockResponse::dropConnection(Moment moment, AfterBytes afterBytes) {
  return end(Ending::drop, moment, afterBytes);
}

MockResponse& MockResponse::resetConnection(Moment moment, AfterBytes afterBytes) {
  return end(Ending::reset, moment, afterBytes);
}

MockResponse& MockResponse::halfClose(Moment moment, AfterBytes afterBytes) {
  return end(Ending::halfClose, moment, afterBytes);
}

MockResponse& MockResponse::stall(Moment moment, AfterBytes afterBytes) {
  return end(Ending::stall, moment, afterBytes);
}

MockResponse& MockResponse::extraBytesAfter(std::string bytes, Milliseconds whenIdle) {
  if (whenIdle.count() == 0) {
    extraBytes_ += bytes;
  } else {
    idleActions_.push_back({whenIdle, std::move(bytes)});
  }
  return *this;
}

MockResponse& MockResponse::closeWhenIdle(Milliseconds whenIdle) {
  idleActions_.push_back({whenIdle, std::nullopt});
  return *this;
}

}  // namespace corvane::testkit
