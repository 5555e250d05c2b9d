#pragma once

#include <nghttp2/nghttp2.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TestSupport/MemoryStream.hpp"
#include "TestSupport/RecordedExchange.hpp"

namespace corvane::testkit {

/// A well-behaved HTTP/2 server at the other end of a wire, by nghttp2: tests say what it responds.
class HTTP2Peer {
 public:
  struct Options {
    std::uint32_t maximumStreams = 100;
    /// Of each stream, for what clients send.
    std::uint32_t windowBytes = 65535;
    /// Whether it gives windows back as it receives bodies.
    bool givesWindowsBack = true;
  };

  struct Request {
    std::int32_t id = 0;
    Fields fields;
    std::string body;
    bool isComplete = false;
    bool isReset = false;

    std::string field(std::string_view name) const;
  };

  explicit HTTP2Peer(MemoryWire& wire) : HTTP2Peer(wire, Options{}) {}
  HTTP2Peer(MemoryWire& wire, Options options);
  ~HTTP2Peer();
  HTTP2Peer(const HTTP2Peer&) = delete;
  HTTP2Peer& operator=(const HTTP2Peer&) = delete;

  /// Takes what the client wrote. False when that breaks HTTP/2.
  bool take();
  /// Sends what is ready; whether anything was.
  bool send();
  /// What `send` would send, without sending it.
  std::string ready();

  /// In the order in which they came.
  const std::vector<Request>& requests() const { return requests_; }
  const Request& request(std::size_t place) const { return requests_.at(place); }
  /// PING frames of the client.
  int pings() const { return pings_; }

  /// A head and a whole body, which may be empty.
  void respond(std::int32_t id, const Fields& head, std::string body = {}, const Fields& trailers = {});
  /// An interim head (1xx).
  void respondInterim(std::int32_t id, const Fields& head);
  /// A head alone; `write` gives pieces of the body.
  void begin(std::int32_t id, const Fields& head);
  void write(std::int32_t id, std::string_view piece, bool isLast = false);
  /// Bytes of the body that did not leave yet: they wait for a window, or for `send`.
  std::size_t waiting(std::int32_t id) const;
  void reset(std::int32_t id, std::uint32_t code);
  /// Takes no more streams than those up to `last`.
  void goAway(std::int32_t last, std::uint32_t code = 0);
  void announceStreamLimit(std::uint32_t limit);
  /// Gives back what `givesWindowsBack` kept, or more.
  void openWindow(std::int32_t id, std::int32_t bytes);

 private:
  struct Callbacks;
  struct Body {
    std::string text;
    std::size_t sent = 0;
    bool isFinished = false;
    Fields trailers;
  };

  Request& requestOf(std::int32_t id);

  MemoryWire& wire_;
  Options options_;
  nghttp2_session* session_ = nullptr;
  std::vector<Request> requests_;
  std::map<std::int32_t, Body> bodies_;
  int pings_ = 0;
};

}  // namespace corvane::testkit
