#include "Corvane/Insight/TraceContext.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {
namespace {

constexpr std::string_view example = "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01";

std::string stateOf(std::string_view tracestate) { return TraceContext::parse(example, tracestate)->state(); }

TEST(TraceContextTest, readsAndWritesTheExampleOfTheRecommendation) {
  const auto context = TraceContext::parse(example);

  ASSERT_TRUE(context);
  EXPECT_EQ(context->traceIDText(), "4bf92f3577b34da6a3ce929d0e0e4736");
  EXPECT_EQ(context->spanIDText(), "00f067aa0ba902b7");
  EXPECT_TRUE(context->isSampled());
  EXPECT_EQ(context->state(), "");
  EXPECT_EQ(context->traceparent(), example);
}

TEST(TraceContextTest, isAbsentForWhatIsNotValid) {
  for (const char* text : {
           "",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-0",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01-",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01-what",
           "00-4BF92F3577B34DA6A3CE929D0E0E4736-00f067aa0ba902b7-01",
           "00-4bf92f3577b34da6a3ce929d0e0e473g-00f067aa0ba902b7-01",
           "00-00000000000000000000000000000000-00f067aa0ba902b7-01",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-0000000000000000-01",
           "ff-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01",
           "0x-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01",
           "00_4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01",
           "00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-x1",
           "cc-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01.what",
           " 00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01",
       }) {
    EXPECT_FALSE(TraceContext::parse(text)) << text;
  }
}

TEST(TraceContextTest, readsWhatItKnowsOfLaterVersions) {
  const auto later = TraceContext::parse("cc-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-03-what-ever");

  ASSERT_TRUE(later);
  EXPECT_EQ(later->traceparent(), example);
}

TEST(TraceContextTest, keepsNoFlagButSampled) {
  EXPECT_FALSE(TraceContext::parse("00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-fe")->isSampled());
  EXPECT_TRUE(TraceContext::parse("00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-ff")->isSampled());
}

TEST(TraceContextTest, beginsTracesThatDiffer) {
  const TraceContext one = TraceContext::random();
  const TraceContext other = TraceContext::random(false);

  EXPECT_NE(one.traceID(), other.traceID());
  EXPECT_NE(one.spanID(), other.spanID());
  EXPECT_TRUE(one.isSampled());
  EXPECT_FALSE(other.isSampled());
  EXPECT_EQ(TraceContext::parse(one.traceparent()), one);
}

TEST(TraceContextTest, hasChildrenInTheSameTrace) {
  const auto parent = *TraceContext::parse(example, "congo=t61rcWkgMzE");
  const TraceContext child = parent.child();

  EXPECT_EQ(child.traceID(), parent.traceID());
  EXPECT_NE(child.spanID(), parent.spanID());
  EXPECT_EQ(child.isSampled(), parent.isSampled());
  EXPECT_EQ(child.state(), parent.state());
}

TEST(TraceContextTest, isMadeOfItsParts) {
  TraceContext::TraceID trace{};
  TraceContext::SpanID span{};
  EXPECT_FALSE(TraceContext::of(trace, span, true));
  trace.back() = 1;
  EXPECT_FALSE(TraceContext::of(trace, span, true));
  span.back() = 2;

  EXPECT_EQ(TraceContext::of(trace, span, false)->traceparent(),
            "00-00000000000000000000000000000001-0000000000000002-00");
}

TEST(TraceContextTest, passesAStateOn) {
  EXPECT_EQ(stateOf("rojo=00f067aa0ba902b7,congo=t61rcWkgMzE"), "rojo=00f067aa0ba902b7,congo=t61rcWkgMzE");
  EXPECT_EQ(stateOf(" fw529a3039@dt=FfAxMPk,\t,1a-_*/@b=a b "), "fw529a3039@dt=FfAxMPk,1a-_*/@b=a b");
}

TEST(TraceContextTest, dropsAStateThatBreaksTheRules) {
  for (const char* state : {"congo", "congo=", "=x", "Congo=x", "1a=x", "a@1b=x", "a@b@c=x", "congo=a=b",
                            "congo=1,congo=2", "congo=\x7F", "congo=\xC3\xA4"}) {
    EXPECT_EQ(stateOf(state), "") << state;
  }
}

TEST(TraceContextTest, boundsAState) {
  std::string members;
  for (int i = 0; i < 32; ++i) members += (members.empty() ? "k" : ",k") + std::to_string(i) + "=v";

  EXPECT_EQ(stateOf(members), members);
  EXPECT_EQ(stateOf(members + ",one=more"), "");
  EXPECT_EQ(stateOf("k=" + std::string(256, 'v')).size(), 258U);
  EXPECT_EQ(stateOf("k=" + std::string(257, 'v')), "");
  EXPECT_EQ(stateOf(std::string(256, 'k') + "=v").size(), 258U);
  EXPECT_EQ(stateOf(std::string(257, 'k') + "=v"), "");
}

}  // namespace
}  // namespace corvane
