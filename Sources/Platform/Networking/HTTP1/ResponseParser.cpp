#include "Platform/Networking/HTTP1/ResponseParser.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::size_t versionBytes = 8;
constexpr std::size_t ordinaryFields = 64;

std::string quoted(std::string_view text) { return "\"" + detail::printable(text) + "\""; }

std::string_view withoutLineEnd(std::string_view line) {
  line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

void ResponseParser::begin(bool isHead) {
  isHead_ = isHead;
  isTunnel_ = false;
  hasBegun_ = false;
  earlierBytes_ = 0;
  interimHeads_ = 0;
  beginSection(Phase::statusLine);
}

void ResponseParser::beginTunnel() {
  begin(true);
  isTunnel_ = true;
}

void ResponseParser::beginSection(Phase phase) {
  phase_ = phase;
  lineStart_ = 0;
  searched_ = 0;
  fields_.clear();
  views_.clear();
  if (phase == Phase::statusLine) framing_.reset();
}

ResponseParser::Step ResponseParser::next(std::string_view input) {
  hasBegun_ = hasBegun_ || !input.empty();
  switch (phase_) {
    case Phase::statusLine:
    case Phase::fields:
    case Phase::trailers:
      return takeSection(input);
    case Phase::length:
      return takeLength(input);
    case Phase::chunks:
      return takeChunks(input);
    case Phase::untilClose:
      return {input.empty() ? Event::incomplete : Event::body, input.size(), input};
    case Phase::noBody:
    case Phase::ended:
      return ended();
    case Phase::failed:
      break;
  }
  return {Event::failed, 0, {}};
}

ResponseParser::Step ResponseParser::takeSection(std::string_view input) {
  while (true) {
    const char* const from = input.data() + searched_;
    const std::size_t left = input.size() - searched_;
    const void* const found = left > 0 ? std::memchr(from, '\n', left) : nullptr;
    const std::size_t lineEnd =
        found ? static_cast<std::size_t>(static_cast<const char*>(found) - input.data()) + 1 : input.size();
    if (!isWithinBounds(lineEnd)) return {Event::failed, 0, {}};
    searched_ = lineEnd;
    if (!found) return {Event::incomplete, 0, {}};
    const std::string_view line = withoutLineEnd(input.substr(lineStart_, lineEnd - lineStart_));
    lineStart_ = lineEnd;
    if (line.empty() && phase_ != Phase::statusLine) return endSection(input.substr(0, lineEnd));
    if (!takeLine(line, input.data())) return {Event::failed, 0, {}};
  }
}

bool ResponseParser::refuse(std::string message) {
  failed(std::move(message));
  return false;
}

/// Whichever bound a line meets first, wherever the input is cut.
bool ResponseParser::isWithinBounds(std::size_t lineEnd) {
  const std::size_t bytesLeft = maximumBytes - std::min(maximumBytes, earlierBytes_ + lineStart_);
  if (lineEnd - lineStart_ <= std::min(bytesLeft, maximumLineBytes)) return true;
  return refuse(bytesLeft <= maximumLineBytes ? "header block exceeds 262144 bytes"
                                              : "a line of the response's head exceeds 65536 bytes");
}

bool ResponseParser::takeLine(std::string_view line, const char* section) {
  if (detail::holdsLineBreakOrNUL(line)) {
    return refuse("the line " + quoted(line) + " of the response's head holds a control character");
  }
  return phase_ == Phase::statusLine ? takeStatusLine(line) : takeField(line, section);
}

bool ResponseParser::takeStatusLine(std::string_view line) {
  const bool hasVersion =
      line.size() > versionBytes && line.starts_with("HTTP/1.") && detail::isDigit(line[versionBytes - 1]);
  const std::string_view rest = hasVersion ? line.substr(versionBytes) : std::string_view();
  const bool isWellFormed = rest.size() >= 4 && rest[0] == ' ' && detail::isDigit(rest[1]) &&
                            detail::isDigit(rest[2]) && detail::isDigit(rest[3]) &&
                            (rest.size() == 4 || rest[4] == ' ');
  if (!isWellFormed) return refuse("the status line " + quoted(line) + " is malformed");
  head_.statusCode = (rest[1] - '0') * 100 + (rest[2] - '0') * 10 + (rest[3] - '0');
  if (head_.statusCode < 100) return refuse("the status " + std::string(rest.substr(1, 3)) + " is out of range");
  if (head_.statusCode == 101) return refuse("the server switched protocols (101), though no upgrade was asked for");
  minorVersion_ = line[versionBytes - 1];
  phase_ = Phase::fields;
  return true;
}

bool ResponseParser::takeField(std::string_view line, const char* section) {
  if (detail::isSpaceOrTab(line.front())) {
    if (fields_.empty()) return refuse("the first header line, " + quoted(line) + ", begins with a space");
    const Field& last = fields_.back();
    return refuse("the header field " + quoted({section + last.name, last.nameBytes}) + " is folded");
  }
  // A name is a token, so that it ends where the first other character stands.
  std::size_t colon = 0;
  while (colon < line.size() && detail::isTokenCharacter(line[colon])) ++colon;
  if (colon == 0 || colon == line.size() || line[colon] != ':') return refuseName(line);
  if (fields_.size() == maximumFields) return refuse("the response has more than 1000 header fields");
  const std::string_view name = line.substr(0, colon);
  std::string_view value = detail::trimmed(line.substr(colon + 1));
  const bool frames = phase_ == Phase::fields && !isTunnel_;
  const FramingFields::Use use = frames ? framing_.take(name, value) : FramingFields::Use::keep;
  if (use == FramingFields::Use::refuse) return refuse(framing_.problem());
  if (use == FramingFields::Use::dropRepetition) return true;
  fields_.push_back({.name = static_cast<std::uint32_t>(name.data() - section),
                     .nameBytes = static_cast<std::uint32_t>(name.size()),
                     .value = static_cast<std::uint32_t>(value.data() - section),
                     .valueBytes = static_cast<std::uint32_t>(value.size()),
                     .isLength = use == FramingFields::Use::length});
  return true;
}

/// Says what is wrong with the name that the line begins with.
bool ResponseParser::refuseName(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == line.npos) return refuse("the header line " + quoted(line) + " has no colon");
  const std::string_view name = line.substr(0, colon);
  const bool isSpaced = !name.empty() && detail::isSpaceOrTab(name.back()) && detail::isToken(detail::trimmed(name));
  return refuse(isSpaced ? "the header field " + quoted(detail::trimmed(name)) + " has a space before its colon"
                         : "the header field name " + quoted(name) + " is malformed");
}

ResponseParser::Step ResponseParser::endSection(std::string_view section) {
  earlierBytes_ += section.size();
  if (phase_ == Phase::trailers) {
    makeViews(section, true);
    phase_ = Phase::ended;
    return {Event::end, section.size(), {}};
  }
  makeHead(section);
  if (head_.statusCode >= 200) {
    phase_ = bodyPhase();
    remaining_ = phase_ == Phase::length ? static_cast<std::uint64_t>(framing_.length()) : 0;
    chunks_.reset();
    return {Event::head, section.size(), {}};
  }
  if (++interimHeads_ > maximumInterimHeads) return failed("the response has more than 200 interim heads");
  const Step step{Event::interim, section.size(), {}};
  lineStart_ = 0;
  searched_ = 0;
  fields_.clear();
  framing_.reset();
  phase_ = Phase::statusLine;
  return step;
}

void ResponseParser::makeHead(std::string_view section) {
  // A Content-Length beside a Transfer-Encoding means nothing, and must mislead nobody (RFC 9112, 6.3).
  makeViews(section, !framing_.isChunked());
  const Phase body = bodyPhase();
  head_.httpVersion = section.substr(0, versionBytes);
  head_.fields = views_;
  head_.headBytes = section.size();
  head_.hasBody = body != Phase::noBody;
  head_.bodyLength = body == Phase::noBody ? 0 : body == Phase::length ? framing_.length() : -1;
}

void ResponseParser::makeViews(std::string_view section, bool withLengths) {
  views_.clear();
  for (const Field& field : fields_) {
    if (field.isLength && !withLengths) continue;
    views_.push_back({section.substr(field.name, field.nameBytes), section.substr(field.value, field.valueBytes)});
  }
}

/// RFC 9112, 6.3.
ResponseParser::Phase ResponseParser::bodyPhase() const {
  const int status = head_.statusCode;
  if (isHead_ || status < 200 || status == 204 || status == 304) return Phase::noBody;
  if (framing_.isChunked()) return Phase::chunks;
  return framing_.hasLength() ? Phase::length : Phase::untilClose;
}

ResponseParser::Step ResponseParser::takeLength(std::string_view input) {
  if (remaining_ == 0) return ended();
  if (input.empty()) return {Event::incomplete, 0, {}};
  const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, input.size()));
  remaining_ -= count;
  return {Event::body, count, input.substr(0, count)};
}

ResponseParser::Step ResponseParser::takeChunks(std::string_view input) {
  const ChunkDecoder::Step chunk = chunks_.next(input);
  switch (chunk.event) {
    case ChunkDecoder::Event::incomplete:
      break;
    case ChunkDecoder::Event::body:
      return {Event::body, chunk.consumed, input.substr(chunk.consumed - chunk.body, chunk.body)};
    case ChunkDecoder::Event::failed:
      return failed(std::string(chunks_.problem()));
    case ChunkDecoder::Event::lastChunk: {
      beginSection(Phase::trailers);
      Step step = takeSection(input.substr(chunk.consumed));
      step.consumed += chunk.consumed;
      return step;
    }
  }
  return {Event::incomplete, chunk.consumed, {}};
}

ResponseParser::Step ResponseParser::ended() {
  phase_ = Phase::ended;
  views_.clear();
  return {Event::end, 0, {}};
}

ResponseParser::Step ResponseParser::failed(std::string message, FailureCause cause) {
  phase_ = Phase::failed;
  failure_ = {cause, std::move(message), 0};
  return {Event::failed, 0, {}};
}

ResponseParser::Event ResponseParser::endOfStream() {
  const auto lost = [this](std::string where) {
    return failed("the connection closed " + std::move(where), FailureCause::connectionLost).event;
  };
  switch (phase_) {
    case Phase::untilClose:
    case Phase::noBody:
    case Phase::ended:
      return ended().event;
    case Phase::failed:
      return Event::failed;
    case Phase::statusLine:
    case Phase::fields:
      return lost("before the head of the response was complete");
    case Phase::length:
      return lost("after " + std::to_string(static_cast<std::uint64_t>(framing_.length()) - remaining_) + " of " +
                  std::to_string(framing_.length()) + " bytes of the body");
    case Phase::chunks:
      return lost("before the last chunk of the body");
    case Phase::trailers:
      break;
  }
  return lost("before the end of the trailers");
}

bool ResponseParser::mayKeepConnection() const {
  if (framing_.saysClose() || bodyPhase() == Phase::untilClose) return false;
  const bool isOld = minorVersion_ == '0';
  if (framing_.isChunked() && (isOld || framing_.hasLength())) return false;
  return !isOld || framing_.saysKeepAlive();
}

std::uint64_t ResponseParser::bodyAhead() const {
  if (phase_ == Phase::length) return remaining_;
  return phase_ == Phase::chunks ? chunks_.bodyAhead() : 0;
}

void ResponseParser::skipBody(std::uint64_t count) {
  if (phase_ == Phase::length) {
    remaining_ -= count;
  } else {
    chunks_.skipBody(count);
  }
}

void ResponseParser::shrink() {
  if (fields_.capacity() <= ordinaryFields) return;
  std::vector<Field>().swap(fields_);
  std::vector<FieldView>().swap(views_);
}

}  // namespace platform::networking
