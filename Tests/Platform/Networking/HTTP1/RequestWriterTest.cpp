#include "Platform/Networking/HTTP1/RequestWriter.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace platform::networking {
namespace {

RequestHead get(std::string_view target = "/") {
  return {.method = "GET", .authority = "example.org", .target = target};
}

TEST(RequestWriterTest, writesTheHostFirstAndTheFieldsInTheirOrder) {
  const std::array<FieldView, 3> fields{{{"B", "2"}, {"A", "1"}, {"Empty", ""}}};
  RequestHead head = get("/path?a=b");
  head.fields = fields;
  RequestWriter writer;

  EXPECT_EQ(writer.compose(head, false), RequestFraming::none);

  EXPECT_EQ(writer.text(), "GET /path?a=b HTTP/1.1\r\nHost: example.org\r\nB: 2\r\nA: 1\r\nEmpty: \r\n\r\n");
}

TEST(RequestWriterTest, takesTheHostFromTheFieldsWhereThereIsOne) {
  const std::array<FieldView, 2> fields{{{"A", "1"}, {"host", "other.example:8080"}}};
  RequestHead head = get();
  head.fields = fields;
  RequestWriter writer;

  writer.compose(head, false);

  EXPECT_EQ(writer.text(), "GET / HTTP/1.1\r\nHost: other.example:8080\r\nA: 1\r\n\r\n");
}

TEST(RequestWriterTest, announcesTheLengthOfABodyAndOfAnEmptyOne) {
  RequestHead head = get();
  head.method = "POST";
  RequestWriter writer;

  head.contentLength = 0;
  EXPECT_EQ(writer.compose(head, false), RequestFraming::length);
  EXPECT_EQ(writer.text(), "POST / HTTP/1.1\r\nHost: example.org\r\nContent-Length: 0\r\n\r\n");
  head.contentLength = 18446744073709551615U;
  EXPECT_EQ(writer.compose(head, true), RequestFraming::length);
  EXPECT_EQ(writer.text(), "POST / HTTP/1.1\r\nHost: example.org\r\nContent-Length: 18446744073709551615\r\n\r\n");
}

TEST(RequestWriterTest, announcesChunksWhereTheLengthIsNotKnown) {
  RequestHead head = get();
  head.method = "PUT";
  RequestWriter writer;

  EXPECT_EQ(writer.compose(head, true), RequestFraming::chunked);

  EXPECT_EQ(writer.text(), "PUT / HTTP/1.1\r\nHost: example.org\r\nTransfer-Encoding: chunked\r\n\r\n");
}

TEST(RequestWriterTest, refusesWhatWouldBeReadAsSomethingElse) {
  for (const std::string& bad : {std::string("a\rb"), std::string("a\nb"), std::string("a\0b", 3),
                                 std::string("long enough for words \r"), std::string("long enough for words \n x")}) {
    RequestHead head = get();
    head.method = bad;
    EXPECT_EQ(RequestWriter().compose(head, false), RequestFraming::refused);
    head = get(bad);
    EXPECT_EQ(RequestWriter().compose(head, false), RequestFraming::refused);
    head = get();
    head.authority = bad;
    EXPECT_EQ(RequestWriter().compose(head, false), RequestFraming::refused);
    for (const FieldView& field : {FieldView{bad, "value"}, FieldView{"name", bad}}) {
      head = get();
      head.fields = {&field, 1};
      EXPECT_EQ(RequestWriter().compose(head, false), RequestFraming::refused);
    }
  }
  EXPECT_EQ(RequestWriter().compose(get("/a b"), false), RequestFraming::refused);
  EXPECT_EQ(RequestWriter().compose(get(""), false), RequestFraming::refused);
}

TEST(RequestWriterTest, growsForALongHeadAndServesShortOnesAfterwards) {
  const std::string value(100'000, 'x');
  const FieldView field{"X", value};
  RequestHead head = get();
  head.fields = {&field, 1};
  RequestWriter writer;

  EXPECT_EQ(writer.compose(head, false), RequestFraming::none);
  EXPECT_EQ(writer.text().size(),
            value.size() + std::string_view("GET / HTTP/1.1\r\nHost: example.org\r\nX: \r\n\r\n").size());
  writer.shrink();
  EXPECT_EQ(writer.text(), "");
  writer.compose(get(), false);
  EXPECT_EQ(writer.text(), "GET / HTTP/1.1\r\nHost: example.org\r\n\r\n");
}

}  // namespace
}  // namespace platform::networking
