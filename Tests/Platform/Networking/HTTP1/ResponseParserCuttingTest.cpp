#include <gtest/gtest.h>

#include "ParsedResponse.hpp"

/// Where the network cuts a response must not matter.
namespace platform::networking {
namespace {

struct Sample {
  std::string text;
  bool isHead = false;
};

std::vector<Sample> samples() {
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n";
  std::vector<Sample> all;
  for (const std::string& text : {
           std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX: \t y \r\n\r\nhello"),
           std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello and something else"),
           std::string("HTTP/1.1 200 OK\nA: 1\nContent-Length: 05, 5\nContent-Length: 5\n\nhello"),
           std::string("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nLink: <a>\r\n\r\nHTTP/1.1 200\r\n"
                       "Content-Length: 0\r\n\r\n"),
           std::string("HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 2\r\n\r\nab"),
           std::string("HTTP/1.0 200 OK\r\n\r\nuntil the end"),
           std::string("HTTP/1.1 204 No Content\r\nConnection: close\r\n\r\n"),
           std::string("HTTP/1.1 304 Not Modified\r\nContent-Length: 10\r\n\r\nmore"),
           chunked + "\r\n5\r\nhello\r\n6;name=\"value\"\r\n world\r\n0\r\n\r\n",
           chunked + "Content-Length: 3\r\n\r\n00a \t; x\r\n0123456789\r\n000;y\r\nT: 1\r\nU:\r\n\r\nrest",
           chunked + "\r\n5\nhello\r\n0\r\n\r\n",
           chunked + "\r\n5\r\nhelloX\n0\r\n\r\n",
           chunked + "\r\n0x5\r\nhello\r\n",
           chunked + "\r\n5;a\rb\r\nhello\r\n0\r\n\r\n",
           chunked + "\r\n8000000000000000\r\nhello",
           chunked + "\r\n0\r\nT : 1\r\n\r\n",
           chunked + "\r\n0\r\nT: 1\r\n folded\r\n\r\n",
           chunked + "\r\n0\nT: 1\n\n",
           chunked + "\r\n0\r\nT: 1\n\n",
           chunked + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
           std::string("HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: 6\r\n\r\nhello"),
           std::string("HTTP/1.1 200 OK\r\nContent-Length: five\r\n\r\nhello"),
           std::string("HTTP/1.1 200 OK\r\nX: a\rb\r\n\r\n"),
           "HTTP/1.1 200 OK\r\nX: a" + std::string(1, '\0') + "b\r\n\r\n",
           std::string("HTTP/1.1 200 OK\r\nX : a\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nX: a\r\n b\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\n X: a\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nnothing\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nX: a\r\r\n\r\n"),
           std::string("HTTP/1.1 101 Switching Protocols\r\n\r\n"),
           std::string("HTTP/1.1 099 Low\r\n\r\n"),
           std::string("HTTP/2 200\r\n\r\n"),
           std::string("<html>\n</html>\n"),
           std::string("\r\nHTTP/1.1 200 OK\r\n\r\n"),
           std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel"),
           chunked + "\r\n5\r\nhel",
           std::string("HTTP/1.1 200 O"),
       }) {
    all.push_back({text, false});
    all.push_back({text, true});
  }
  return all;
}

TEST(ResponseParserCuttingTest, twoPiecesReadAsTheWhole) {
  for (const Sample& sample : samples()) {
    const std::string_view text = sample.text;
    const ParsedResponse whole = parsed({text}, StreamEnd::closed, sample.isHead);
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      ASSERT_EQ(parsed({text.substr(0, cut), text.substr(cut)}, StreamEnd::closed, sample.isHead), whole)
          << text << " cut at " << cut;
    }
  }
}

TEST(ResponseParserCuttingTest, aByteAtATimeReadsAsTheWhole) {
  for (const Sample& sample : samples()) {
    std::vector<std::string_view> bytes;
    for (std::size_t at = 0; at < sample.text.size(); ++at)
      bytes.push_back(std::string_view(sample.text).substr(at, 1));

    ASSERT_EQ(parsed(bytes, StreamEnd::closed, sample.isHead), parsed({sample.text}, StreamEnd::closed, sample.isHead))
        << sample.text;
  }
}

TEST(ResponseParserCuttingTest, aBoundIsMetAtTheSamePlace) {
  for (const std::size_t before : {std::size_t{100}, std::size_t{60'000}}) {
    std::string text = "HTTP/1.1 200 OK\r\n";
    for (int i = 0; i < 3; ++i) text += "X: " + std::string(before, 'x') + "\r\n";
    text += "Y: " + std::string(100'000, 'y') + "\r\n\r\n";
    const ParsedResponse whole = parsed({text});
    for (std::size_t cut = 0; cut <= text.size(); cut += 997) {
      const std::string_view view = text;
      ASSERT_EQ(parsed({view.substr(0, cut), view.substr(cut)}), whole) << cut;
    }
  }
}

}  // namespace
}  // namespace platform::networking
