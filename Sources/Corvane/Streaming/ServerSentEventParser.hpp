#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// An event that a server sent ("Server-sent events" of the HTML standard).
///
///     auto events = serverSentEvents(StreamGetRequest(url));
///     while (const std::optional<ServerSentEvent> event = co_await events.next()) show(event->event, event->data);
struct ServerSentEvent {
  /// Its type. Default: "message".
  std::string event = "message";
  /// The lines of its data, with LF between them.
  std::string data;
  /// The identifier of the last event that had one, this one included. Empty if there was none.
  std::string id;

  friend bool operator==(const ServerSentEvent&, const ServerSentEvent&) = default;
};

/// Makes events of the bytes of a stream of the type "text/event-stream", cut anywhere, as the HTML standard describes
/// ("Interpreting an event stream"). The bytes are taken for UTF-8, and not checked. For one thread.
///
///     parser.push(bytes);
///     while (const auto event = parser.next()) use(*event);
class CORVANE_API ServerSentEventParser {
 public:
  /// The default of the greatest length of an event: 1 MiB.
  static constexpr std::size_t defaultMaximumBytes = std::size_t{1} << 20;

  /// One for a stream whose events have at most so many bytes of data, and no longer line.
  explicit ServerSentEventParser(std::size_t maximumBytes = defaultMaximumBytes) : maximumBytes_(maximumBytes) {}

  /// Takes the next bytes of the stream. Throws `HTTPStreamError::eventTooLong`; then it cannot be used any more, but
  /// for the events before.
  void push(std::string_view bytes);
  /// Takes out the next event that is complete.
  std::optional<ServerSentEvent> next();
  /// The stream goes on over a new connection: what was not complete is dropped. `lastEventID` and `retry` stay.
  void restart();

  /// What to send as "Last-Event-ID" when the stream is asked for again. Empty: nothing.
  const std::string& lastEventID() const { return lastEventID_; }
  /// How long the server wants clients to wait before they ask again, if it said so.
  const std::optional<platform::Seconds>& retry() const { return retry_; }

 private:
  std::string_view withoutMark(std::string_view bytes);
  void takeLine(std::string_view line);
  void takeField(std::string_view name, std::string_view value);
  void takeRetry(std::string_view digits);
  void dispatch();
  void keep(std::string_view part);
  void require(std::size_t bytes) const;

  const std::size_t maximumBytes_;
  std::deque<ServerSentEvent> events_;
  std::string line_;  ///< the beginning of a line
  std::size_t markBytes_ = 0;
  bool isAtStart_ = true;
  bool skipsLineFeed_ = false;  ///< the last byte was the CR of a line

  std::string data_;
  bool hasData_ = false;
  std::string event_;
  std::string id_;
  std::string lastEventID_;
  std::optional<platform::Seconds> retry_;
};

}  // namespace corvane
