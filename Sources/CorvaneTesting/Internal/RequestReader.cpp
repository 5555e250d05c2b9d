#include "CorvaneTesting/Internal/RequestReader.hpp"

#include <algorithm>

#include "CorvaneTesting/Internal/Text.hpp"
#include "Platform/Foundation/Detail/ASCII.hpp"

namespace corvane::testkit::detail {

using platform::detail::equalsIgnoringCase;

namespace {

constexpr std::size_t headLimit = 4 * 1024 * 1024;
constexpr std::size_t lineLimit = 64 * 1024;
constexpr std::string_view emptyLine = "\r\n\r\n";

bool isTokenCharacter(char character) {
  // RFC 9110 section 5.6.2.
  constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
  return platform::detail::isLetterOrDigit(character) || marks.find(character) != std::string_view::npos;
}

bool isToken(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter); }

bool isFieldCharacter(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code == '\t' || (code >= 0x20 && code != 0x7F);
}

HeaderField parseField(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || !isToken(line.substr(0, colon))) {
    throw BadRequest("malformed header line: " + std::string(line));
  }
  const std::string_view value = trimmed(line.substr(colon + 1));
  if (!std::all_of(value.begin(), value.end(), isFieldCharacter)) {
    throw BadRequest("control character in header line: " + std::string(line));
  }
  return {std::string(line.substr(0, colon)), std::string(value)};
}

}  // namespace

std::optional<ReceivedRequest> RequestReader::readHead() {
  std::size_t end = buffer_.find(emptyLine);
  while (end == std::string::npos) {
    const std::size_t from = buffer_.size() < 3 ? 0 : buffer_.size() - 3;
    if (!fill()) {
      if (buffer_.empty()) return std::nullopt;
      throw ConnectionOver();
    }
    if (buffer_.size() > headLimit) throw BadRequest("the request's head exceeds 4 MiB");
    end = buffer_.find(emptyLine, from);
  }
  ReceivedRequest request;
  request.head = take(end + emptyLine.size());
  parseHead(request);
  chooseFraming(request);
  return request;
}

void RequestReader::parseHead(ReceivedRequest& request) {
  std::string_view rest = std::string_view(request.head).substr(0, request.head.size() - 2);
  bool isFirst = true;
  while (!rest.empty()) {
    const std::size_t end = rest.find("\r\n");
    const std::string_view line = rest.substr(0, end);
    if (isFirst) {
      parseRequestLine(request, std::string(line));
    } else {
      request.headers.push_back(parseField(line));
    }
    isFirst = false;
    rest.remove_prefix(end + 2);
  }
}

void RequestReader::parseRequestLine(ReceivedRequest& request, const std::string& line) {
  const std::size_t first = line.find(' ');
  const std::size_t second = first == std::string::npos ? first : line.find(' ', first + 1);
  if (second == std::string::npos) throw BadRequest("malformed request line: " + line);
  request.method = line.substr(0, first);
  request.target = line.substr(first + 1, second - first - 1);
  request.version = line.substr(second + 1);
  const bool isVersion = request.version == "HTTP/1.1" || request.version == "HTTP/1.0";
  const bool isTarget =
      !request.target.empty() && std::all_of(request.target.begin(), request.target.end(), [](char c) {
        return static_cast<unsigned char>(c) > 0x20 && static_cast<unsigned char>(c) < 0x7F;
      });
  if (!isToken(request.method) || !isTarget || !isVersion) throw BadRequest("malformed request line: " + line);
}

void RequestReader::chooseFraming(ReceivedRequest& request) {
  // RFC 9112 section 6: what leaves the body's length in doubt is refused.
  const auto lengths = request.headerValues("Content-Length");
  const auto encodings = request.headerValues("Transfer-Encoding");
  if (lengths.size() + encodings.size() > 1) throw BadRequest("more than one field frames the body");
  state_ = State::done;
  remaining_ = 0;
  if (!encodings.empty()) {
    if (!equalsIgnoringCase(encodings.front(), "chunked"))
      throw BadRequest("unknown transfer coding " + encodings.front());
    request.isChunked = true;
    state_ = State::chunkHead;
  } else if (!lengths.empty()) {
    const auto length = number(lengths.front());
    if (!length) throw BadRequest("malformed Content-Length " + lengths.front());
    remaining_ = *length;
    if (remaining_ > 0) state_ = State::length;
  }
}

std::optional<std::string> RequestReader::readBodyPiece(ReceivedRequest& request) {
  if (state_ == State::chunkHead) readChunkHead();
  if (state_ == State::trailers) readTrailers(request);
  if (state_ == State::done) return std::nullopt;
  if (buffer_.empty()) fillOrEnd();
  std::string piece = take(static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, buffer_.size())));
  remaining_ -= piece.size();
  if (remaining_ > 0) return piece;
  if (state_ == State::chunkData) {
    if (!line().empty()) throw BadRequest("a chunk is longer than it said");
    state_ = State::chunkHead;
  } else {
    state_ = State::done;
  }
  return piece;
}

void RequestReader::readChunkHead() {
  const std::string head = line();
  const auto size = number(trimmed(std::string_view(head).substr(0, head.find(';'))), 16);
  if (!size) throw BadRequest("malformed chunk size: " + head);
  remaining_ = *size;
  state_ = remaining_ > 0 ? State::chunkData : State::trailers;
}

void RequestReader::readTrailers(ReceivedRequest& request) {
  for (std::string field = line(); !field.empty(); field = line()) request.trailers.push_back(parseField(field));
  state_ = State::done;
}

bool RequestReader::fill() {
  char piece[16 * 1024];
  const std::size_t count = stream_.read(piece, sizeof piece);
  buffer_.append(piece, count);
  return count > 0;
}

void RequestReader::fillOrEnd() {
  if (!fill()) throw ConnectionOver();
}

std::string RequestReader::line() {
  std::size_t end = buffer_.find("\r\n");
  while (end == std::string::npos) {
    if (buffer_.size() > lineLimit) throw BadRequest("a line of the chunked body exceeds 64 KiB");
    fillOrEnd();
    end = buffer_.find("\r\n");
  }
  std::string text = take(end);
  take(2);
  return text;
}

std::string RequestReader::take(std::size_t most) {
  std::string bytes = buffer_.substr(0, most);
  buffer_.erase(0, most);
  return bytes;
}

}  // namespace corvane::testkit::detail
