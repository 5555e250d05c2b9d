#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/HTTP1/ResponseParser.hpp"

namespace platform::networking {

/// What came of a response, all of it as text, so that two can be compared.
struct ParsedResponse {
  /// "200 HTTP/1.1 length 5: Name=value; ", one for each head.
  std::vector<std::string> heads;
  std::string body;
  std::string trailers;
  /// "end", "incomplete", or the message of the failure.
  std::string outcome = "incomplete";
  bool isMalformed = false;
  bool keepsConnection = false;
  /// Bytes that are not the response's.
  std::string rest;

  friend bool operator==(const ParsedResponse&, const ParsedResponse&) = default;
};

/// Feeds a parser as a connection does: what it did not consume comes again, at another place in memory.
class ResponseFeeder {
 public:
  explicit ResponseFeeder(bool isHead = false) { parser_.begin(isHead); }

  void feed(std::string_view piece);
  void endOfStream();
  const ParsedResponse& response() const { return response_; }
  ResponseParser& parser() { return parser_; }

 private:
  bool isOver() const { return response_.outcome != "incomplete"; }
  void take(const ResponseParser::Step& step);
  void takeEnd(ResponseParser::Event event);

  ResponseParser parser_;
  ParsedResponse response_;
  std::string kept_;
};

enum class StreamEnd { open, closed };

/// Of these pieces, one after the other.
ParsedResponse parsed(const std::vector<std::string_view>& pieces, StreamEnd end = StreamEnd::open,
                      bool isHead = false);

}  // namespace platform::networking
