#include "Platform/Networking/HTTP2/HTTP2FrameMeter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "TestSupport/HTTP2Frames.hpp"

namespace platform::networking {
namespace {

using namespace corvane::testkit::http2;
using namespace std::chrono_literals;

class HTTP2FrameMeterTest : public testing::Test {
 protected:
  /// Gives the bytes in pieces; what is passed on, up to a problem.
  std::string pass(std::string_view bytes, std::size_t pieceBytes) {
    std::string passed;
    while (!bytes.empty() && !problem) {
      const auto verdict = meter.take(std::as_bytes(std::span(bytes.substr(0, pieceBytes))), now);
      for (const Bytes part : {verdict.header, verdict.rest}) {
        passed.append(reinterpret_cast<const char*>(part.data()), part.size());
      }
      problem = verdict.problem;
      bytes.remove_prefix(std::min(pieceBytes, bytes.size()));
    }
    return passed;
  }
  bool floods(const std::string& each, int count) {
    for (int i = 0; i < count && !problem; ++i) pass(each, each.size());
    return problem.has_value();
  }

  TimePoint now{1h};
  HTTP2FrameMeter meter{now};
  std::optional<std::string_view> problem;
};

TEST_F(HTTP2FrameMeterTest, passesEverythingOnHoweverItIsCut) {
  const std::string bytes = preface({{3, 100}}) + head(1, {{":status", "200"}}) + body(1, "hello") + body(1, "", 1);

  for (std::size_t pieceBytes = 1; pieceBytes <= bytes.size(); ++pieceBytes) {
    EXPECT_EQ(pass(bytes, pieceBytes), bytes) << pieceBytes;
  }
}

TEST_F(HTTP2FrameMeterTest, keepsAHeaderBackUntilItIsWhole) {
  const std::string bytes = frame(ping, 0, 0, "eight888");

  EXPECT_EQ(pass(bytes.substr(0, 8), 8), "");
  EXPECT_EQ(pass(bytes.substr(8, 3), 3), bytes.substr(0, 11));
}

TEST_F(HTTP2FrameMeterTest, passesOnWhatComesBeforeAProblem) {
  const std::string good = head(1, {{":status", "200"}}) + body(1, "hello");

  for (const std::size_t pieceBytes : {1U, 7U, 1000U}) {
    problem.reset();
    meter = HTTP2FrameMeter(now);
    EXPECT_EQ(pass(good + frame(pushPromise, 0, 1, "push"), pieceBytes), good);
    EXPECT_TRUE(problem);
  }
}

TEST_F(HTTP2FrameMeterTest, allowsWhatARateAllows) {
  for (int second = 0; second < 100; ++second) {
    EXPECT_FALSE(floods(frame(ping, 0, 0, "eight888"), 100));
    now += 1s;
  }
  EXPECT_TRUE(floods(frame(ping, 0, 0, "eight888"), 2'001));
}

TEST_F(HTTP2FrameMeterTest, allowsMoreForRequestsAndBodies) {
  EXPECT_FALSE(floods(frame(windowUpdate, 0, 0, number(1, 4)), 1'000));
  meter.dataSent(16'384);
  EXPECT_FALSE(floods(frame(windowUpdate, 0, 0, number(1, 4)), 68));
  meter.requestSent();
  EXPECT_FALSE(floods(head(1, {{":status", "103"}}), 16));
  EXPECT_FALSE(floods(body(1, "x") + frame(ping, 0, 0, "eight888"), 5'000));
  EXPECT_TRUE(floods(body(1, ""), 2));
}

TEST_F(HTTP2FrameMeterTest, boundsThePiecesOfAHead) {
  const std::string piece = frame(continuation, 0, 1, "x");

  EXPECT_FALSE(floods(piece, HTTP2FrameMeter::maximumContinuations));
  EXPECT_FALSE(floods(head(1, {}), 1));
  EXPECT_TRUE(floods(piece, HTTP2FrameMeter::maximumContinuations + 1));
}

}  // namespace
}  // namespace platform::networking
