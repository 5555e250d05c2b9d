#include "Platform/Loading/Internal/ResponseHead.hpp"

#include "Platform/Loading/Internal/ContentLength.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

bool isFramingField(std::string_view name) {
  return equalsIgnoringCase(name, "Content-Length") || equalsIgnoringCase(name, "Transfer-Encoding");
}

std::optional<std::string_view> withoutLineEnd(std::string_view line) {
  if (!line.ends_with('\n')) return std::nullopt;
  line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

/// Length of "HTTP/1.x", "HTTP/2" or "HTTP/3" at the start of the line, 0 for anything else.
std::size_t versionLength(std::string_view line) {
  if (line.starts_with("HTTP/1.") && line.size() > 7 && isDigit(line[7])) return 8;
  if (line.starts_with("HTTP/2 ") || line.starts_with("HTTP/3 ")) return 6;
  return 0;
}

}  // namespace

void ResponseHead::reset(std::string_view method) {
  phase_ = Phase::statusLine;
  bytes_ = 0;
  isHeadRequest_ = method == "HEAD";
  statusCode_ = 0;
  fields_ = {};
  framing_ = BodyFraming::none;
  contentLength_ = 0;
  hasPendingField_ = false;
}

ResponseHead::Result ResponseHead::consume(std::string_view line) {
  if (phase_ == Phase::failed) return failure_;
  bytes_ += line.size();
  if (bytes_ > maximumBytes) return failed("header block exceeds 262144 bytes");
  const auto content = withoutLineEnd(line);
  if (!content) return failed("the line \"" + printable(line) + "\" of the response's head has no end");
  if (holdsForbiddenControl(*content)) {
    return failed("the line \"" + printable(*content) + "\" of the response's head holds a control character");
  }
  HeadEvent event = HeadEvent::more;
  if (auto problem = takeLine(*content, event)) return failed(std::move(*problem));
  return event;
}

ResponseHead::Result ResponseHead::failed(std::string message) {
  phase_ = Phase::failed;
  failure_ = {URLErrorCode::cannotParseResponse, std::move(message)};
  return failure_;
}

ResponseHead::Problem ResponseHead::takeLine(std::string_view line, HeadEvent& event) {
  if (phase_ == Phase::statusLine) return takeStatusLine(line);
  if (phase_ == Phase::trailers) event = HeadEvent::trailer;
  if (!line.empty() && isBlank(line.front())) return takeFold(line);
  storePendingField();
  if (!line.empty()) return takeFieldLine(line);
  return phase_ == Phase::fields ? endHead(event) : std::nullopt;
}

ResponseHead::Problem ResponseHead::takeStatusLine(std::string_view line) {
  const std::size_t version = versionLength(line);
  const std::string_view rest = line.substr(version);
  const bool isWellFormed = version > 0 && rest.size() >= 4 && rest[0] == ' ' && isDigit(rest[1]) && isDigit(rest[2]) &&
                            isDigit(rest[3]) && (rest.size() == 4 || rest[4] == ' ');
  if (!isWellFormed) return "the status line \"" + printable(line) + "\" is malformed";
  statusCode_ = (rest[1] - '0') * 100 + (rest[2] - '0') * 10 + (rest[3] - '0');
  if (statusCode_ < 100) return "the status " + std::string(rest.substr(1, 3)) + " is out of range";
  if (statusCode_ == 101) return "the server switched protocols (101), though no upgrade was asked for";
  httpVersion_ = line.substr(0, version);
  phase_ = Phase::fields;
  return std::nullopt;
}

ResponseHead::Problem ResponseHead::takeFieldLine(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == line.npos) return "the header line \"" + printable(line) + "\" has no colon";
  const std::string_view name = line.substr(0, colon);
  if (!name.empty() && isBlank(name.back()) && isToken(trimmed(name))) {
    return "the header field \"" + printable(trimmed(name)) + "\" has a blank before its colon";
  }
  if (!isToken(name)) return "the header field name \"" + printable(name) + "\" is malformed";
  pendingName_ = name;
  pendingValue_ = trimmed(line.substr(colon + 1));
  hasPendingField_ = true;
  return std::nullopt;
}

ResponseHead::Problem ResponseHead::takeFold(std::string_view line) {
  if (!hasPendingField_) return "the header line \"" + printable(line) + "\" continues nothing";
  if (isFramingField(pendingName_)) return "the header field \"" + pendingName_ + "\" is folded";
  const std::string_view continuation = trimmed(line);
  if (!pendingValue_.empty() && !continuation.empty()) pendingValue_.push_back(' ');
  pendingValue_.append(continuation);
  return std::nullopt;
}

void ResponseHead::storePendingField() {
  if (hasPendingField_ && phase_ == Phase::fields) fields_.add(pendingName_, pendingValue_);
  hasPendingField_ = false;
}

ResponseHead::Problem ResponseHead::endHead(HeadEvent& event) {
  if (auto problem = decideFraming()) return problem;
  if (statusCode_ < 200) {
    event = HeadEvent::interim;
    fields_ = {};
    phase_ = Phase::statusLine;
    return std::nullopt;
  }
  if (auto problem = checkContentCodings()) return problem;
  event = HeadEvent::complete;
  phase_ = Phase::trailers;
  return std::nullopt;
}

ResponseHead::Problem ResponseHead::decideFraming() {
  const auto length = ContentLength::of(fields_);
  if (length.kind == ContentLength::Kind::malformed) return "the Content-Length is not a number of bytes";
  if (length.kind == ContentLength::Kind::conflicting) return "the response has differing Content-Length fields";
  const bool hasLength = length.kind == ContentLength::Kind::known;
  if (length.occurrences > 1) fields_.set("Content-Length", std::to_string(length.bytes));
  const bool isEncoded = fields_.contains("Transfer-Encoding");
  if (isEncoded && hasLength) return "the response has both a Transfer-Encoding and a Content-Length";
  if (isEncoded) {
    if (auto problem = checkTransferEncoding()) return problem;
  }
  contentLength_ = length.bytes;
  framing_ = isWithoutBody() ? BodyFraming::none
             : isEncoded     ? BodyFraming::chunked
             : hasLength     ? BodyFraming::length
                             : BodyFraming::untilClose;
  return std::nullopt;
}

ResponseHead::Problem ResponseHead::checkTransferEncoding() const {
  const std::string value = fields_.value("Transfer-Encoding").value_or("");
  if (!httpVersion_.starts_with("HTTP/1.") || httpVersion_ == "HTTP/1.0") {
    return "a Transfer-Encoding has no place in " + httpVersion_;
  }
  if (!equalsIgnoringCase(value, "chunked"))
    return "the Transfer-Encoding \"" + printable(value) + "\" is not \"chunked\"";
  return std::nullopt;
}

ResponseHead::Problem ResponseHead::checkContentCodings() const {
  std::size_t count = 0;
  for (const auto& [name, value] : fields_) {
    if (!equalsIgnoringCase(name, "Content-Encoding")) continue;
    for (const std::string_view coding : listElements(value)) count += coding.empty() ? 0 : 1;
  }
  if (count <= maximumContentCodings) return std::nullopt;
  return "the response has " + std::to_string(count) + " content codings, more than 5";
}

bool ResponseHead::isWithoutBody() const {
  return isHeadRequest_ || statusCode_ < 200 || statusCode_ == 204 || statusCode_ == 304;
}

}  // namespace platform::detail
