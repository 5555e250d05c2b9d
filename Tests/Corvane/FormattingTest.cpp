#include "Corvane/Formatting.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

template <class Value>
std::string written(const Value& value) {
  std::ostringstream stream;
  stream << value;
  return stream.str();
}

TEST(FormattingTest, writesDataAsItsBytes) {
  const std::string bytes("a\0\xFFz", 4);

  EXPECT_EQ(written(Data(bytes)), bytes);
  EXPECT_EQ(written(Data()), "");
}

TEST(FormattingTest, writesJSONWithoutWhiteSpace) {
  const JSONValue value = JSONObject{{"a", JSONValue::Array{1, 2.5, "\n"}}, {"b", nullptr}};

  EXPECT_EQ(written(value), R"({"a":[1,2.5,"\n"],"b":null})");
}

#ifdef __cpp_lib_format
TEST(FormattingTest, formatsWhatStreamsWrite) {
  EXPECT_EQ(std::format("{}", URL("http://host/p")), "http://host/p");
  EXPECT_EQ(std::format("<{:>9}>", Data("bytes")), "<    bytes>");
  EXPECT_EQ(std::format("{}", Error("domain", 7, "It rains.")), "It rains.");
  EXPECT_EQ(std::format("{}", JSONValue(JSONObject{{"a", 1}})), R"({"a":1})");
  EXPECT_EQ(std::format("{}", HTTPStatus(HTTPStatus::notFound)), written(HTTPStatus(HTTPStatus::notFound)));
}
#endif

}  // namespace
}  // namespace corvane
