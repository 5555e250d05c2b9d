#include "CorvaneTesting/Answer.hpp"

#include <utility>

#include "CorvaneTesting/Compression.hpp"

namespace corvane::testing {

namespace {

using AfterBytes = std::optional<std::uint64_t>;

struct Phrase {
  int status;
  const char* text;
};

// RFC 9110 section 15, RFC 8297, RFC 6585.
constexpr Phrase phrases[] = {
    {100, "Continue"},
    {101, "Switching Protocols"},
    {102, "Processing"},
    {103, "Early Hints"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {426, "Upgrade Required"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {511, "Network Authentication Required"},
};

}  // namespace

std::string reasonPhrase(int status) {
  for (const Phrase& phrase : phrases) {
    if (phrase.status == status) return phrase.text;
  }
  return "Unknown";
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

Answer::Answer(int status, std::optional<std::string> reason)
    : status_(status), reason_(reason ? std::move(*reason) : reasonPhrase(status)) {}

Answer Answer::raw(std::string bytes) {
  Answer answer;
  answer.raw_ = std::move(bytes);
  return answer;
}

Answer& Answer::header(std::string name, std::string value) {
  headers_.push_back({std::move(name), std::move(value)});
  return *this;
}

Answer& Answer::interim(int status, std::vector<HeaderField> headers) {
  interim_ += "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) + "\r\n";
  for (const HeaderField& field : headers) interim_ += field.name + ": " + field.value + "\r\n";
  interim_ += "\r\n";
  return *this;
}

Answer& Answer::body(std::string bytes) {
  body_ = std::move(bytes);
  generatedSize_.reset();
  return *this;
}

Answer& Answer::gzipBody(std::string_view text) { return header("Content-Encoding", "gzip").body(gzipped(text)); }

Answer& Answer::generatedBody(std::uint64_t size) {
  body_.clear();
  generatedSize_ = size;
  return *this;
}

Answer& Answer::chunked(std::vector<Chunk> chunks) {
  framing_ = Framing::chunks;
  chunks_ = std::move(chunks);
  return *this;
}

Answer& Answer::chunkedBy(std::size_t chunkSize) {
  framing_ = Framing::chunks;
  chunkSize_ = chunkSize;
  return *this;
}

Answer& Answer::trailer(std::string name, std::string value) {
  trailers_.push_back({std::move(name), std::move(value)});
  return *this;
}

Answer& Answer::withoutLastChunk() {
  hasLastChunk_ = false;
  return *this;
}

Answer& Answer::untilClose() {
  framing_ = Framing::untilClose;
  closes_ = true;
  return *this;
}

Answer& Answer::delay(Moment moment, Milliseconds duration, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, Pause{duration}});
  return *this;
}

Answer& Answer::delayChunks(Milliseconds duration) {
  chunkDelay_ = duration;
  return *this;
}

Answer& Answer::throttle(std::size_t bytes, Milliseconds tick) {
  throttleBytes_ = bytes;
  throttleTick_ = tick;
  return *this;
}

Answer& Answer::hold(Moment moment, Gate gate, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, std::move(gate)});
  return *this;
}

Answer& Answer::beforeRequestBody(std::uint64_t afterBytes) {
  answersBeforeRest_ = afterBytes;
  return *this;
}

Answer& Answer::closeConnection() {
  closes_ = true;
  return header("Connection", "close");
}

Answer& Answer::end(Ending ending, Moment moment, AfterBytes afterBytes) {
  points_.push_back({moment, afterBytes, ending});
  return *this;
}

Answer& Answer::dropConnection(Moment moment, AfterBytes afterBytes) { return end(Ending::drop, moment, afterBytes); }

Answer& Answer::resetConnection(Moment moment, AfterBytes afterBytes) { return end(Ending::reset, moment, afterBytes); }

Answer& Answer::halfClose(Moment moment, AfterBytes afterBytes) { return end(Ending::halfClose, moment, afterBytes); }

Answer& Answer::stall(Moment moment, AfterBytes afterBytes) { return end(Ending::stall, moment, afterBytes); }

Answer& Answer::extraBytesAfter(std::string bytes, Milliseconds whenIdle) {
  if (whenIdle.count() == 0) {
    extraBytes_ += bytes;
  } else {
    idleActions_.push_back({whenIdle, std::move(bytes)});
  }
  return *this;
}

Answer& Answer::closeWhenIdle(Milliseconds whenIdle) {
  idleActions_.push_back({whenIdle, std::nullopt});
  return *this;
}

}  // namespace corvane::testing
