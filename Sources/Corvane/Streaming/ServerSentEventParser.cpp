#include "Corvane/Streaming/ServerSentEventParser.hpp"

#include <charconv>
#include <limits>
#include <utility>

#include "Corvane/Errors/HTTPStreamError.hpp"

namespace corvane {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

void ServerSentEventParser::push(std::string_view bytes) {
  bytes = withoutMark(bytes);
  // Looked for once, also where the lines end with CR.
  std::size_t lineFeed = bytes.find('\n');
  for (std::size_t at = 0; at < bytes.size();) {
    if (lineFeed < at) lineFeed = bytes.find('\n', at);
    if (std::exchange(skipsLineFeed_, false) && lineFeed == at) {
      ++at;
      continue;
    }
    const std::string_view rest = bytes.substr(at, lineFeed - at);
    const std::size_t carriageReturn = rest.find('\r');
    skipsLineFeed_ = carriageReturn != std::string_view::npos;
    if (!skipsLineFeed_ && lineFeed == std::string_view::npos) return keep(rest);
    const std::string_view line = rest.substr(0, carriageReturn);
    at += line.size() + 1;
    if (line_.empty()) {
      require(line.size());
      takeLine(line);
    } else {
      keep(line);
      takeLine(std::exchange(line_, {}));
    }
  }
}

/// A mark at the very start is left out; it may come in pieces.
std::string_view ServerSentEventParser::withoutMark(std::string_view bytes) {
  while (isAtStart_ && !bytes.empty()) {
    if (bytes.front() == byteOrderMark[markBytes_]) {
      bytes.remove_prefix(1);
      isAtStart_ = ++markBytes_ < byteOrderMark.size();
    } else {
      line_ = byteOrderMark.substr(0, markBytes_);
      isAtStart_ = false;
    }
  }
  return bytes;
}

void ServerSentEventParser::require(std::size_t bytes) const {
  if (bytes > maximumBytes_) throw HTTPStreamError::eventTooLong(maximumBytes_);
}

void ServerSentEventParser::keep(std::string_view part) {
  require(line_.size() + part.size());
  line_.append(part);
}

void ServerSentEventParser::takeLine(std::string_view line) {
  if (line.empty()) return dispatch();
  const std::size_t colon = line.find(':');
  if (colon == 0) return;
  if (colon == std::string_view::npos) return takeField(line, {});
  std::string_view value = line.substr(colon + 1);
  if (value.starts_with(' ')) value.remove_prefix(1);
  takeField(line.substr(0, colon), value);
}

void ServerSentEventParser::takeField(std::string_view name, std::string_view value) {
  if (name == "data") {
    require(data_.size() + value.size());
    if (hasData_) data_ += '\n';
    data_ += value;
    hasData_ = true;
  } else if (name == "event") {
    event_ = value;
  } else if (name == "id") {
    if (value.find('\0') == std::string_view::npos) id_ = value;
  } else if (name == "retry") {
    takeRetry(value);
  }
}

void ServerSentEventParser::takeRetry(std::string_view digits) {
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return;
  std::uint32_t milliseconds = std::numeric_limits<std::uint32_t>::max();
  // What is out of range leaves the greatest.
  std::from_chars(digits.data(), digits.data() + digits.size(), milliseconds);
  retry_ = platform::Seconds(milliseconds / 1000.0);
}

void ServerSentEventParser::dispatch() {
  lastEventID_ = id_;
  if (std::exchange(hasData_, false)) {
    ServerSentEvent& event = events_.emplace_back();
    if (!event_.empty()) event.event = std::move(event_);
    event.data = std::move(data_);
    event.id = lastEventID_;
  }
  data_.clear();
  event_.clear();
}

std::optional<ServerSentEvent> ServerSentEventParser::next() {
  if (events_.empty()) return std::nullopt;
  std::optional<ServerSentEvent> event = std::move(events_.front());
  events_.pop_front();
  return event;
}

void ServerSentEventParser::restart() {
  line_.clear();
  markBytes_ = 0;
  isAtStart_ = true;
  skipsLineFeed_ = false;
  data_.clear();
  hasData_ = false;
  event_.clear();
  id_ = lastEventID_;
}

}  // namespace corvane
