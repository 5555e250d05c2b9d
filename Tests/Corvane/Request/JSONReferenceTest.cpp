#include "Corvane/Request/JSONReference.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

struct Point {
  int x = 0;
  int y = 0;
};
struct Holder {
  std::string name;
  JSONReference content;
};

static_assert(velisand::JSONEncodable<JSONReference> && velisand::DataRepresentable<JSONReference>);
static_assert(velisand::JSONEncodable<EmptyJSON> && velisand::JSONDecodable<EmptyJSON>);
static_assert(velisand::DataInitializable<EmptyJSON> && velisand::DataRepresentable<EmptyJSON>);
static_assert(!std::convertible_to<Data, JSONReference>);

TEST(JSONReferenceTest, isWrittenAsTheValueItself) {
  const JSONReference reference = Point{1, 2};

  EXPECT_EQ(reference.asData(), JSONEncoder().encode(Point{1, 2}));
  EXPECT_EQ(jsonEncoder().encode(std::vector<JSONReference>{reference, 3, std::string("a")}).view(),
            R"([{"x":1,"y":2},3,"a"])");
  EXPECT_EQ(jsonEncoder().encode(Holder{"n", reference}).view(), R"({"name":"n","content":{"x":1,"y":2}})");
}

TEST(JSONReferenceTest, copiesTextOfAnyKind) {
  std::string text = "changed later";
  const JSONReference ofLiteral = "text";
  const JSONReference ofView = std::string_view(text);
  text = "another value";

  EXPECT_EQ(ofLiteral.asData().text(), "\"text\"");
  EXPECT_EQ(ofView.asData().text(), "\"changed later\"");
  EXPECT_NE(ofLiteral.as<std::string>(), nullptr);
}

TEST(JSONReferenceTest, givesItsValueBack) {
  const JSONReference reference = Point{1, 2};

  ASSERT_TRUE(reference.as<Point>());
  EXPECT_EQ(reference.as<Point>()->y, 2);
  EXPECT_FALSE(reference.as<int>());
  EXPECT_EQ(reference.asJSON(), JSONValue(JSONObject{{"x", 1}, {"y", 2}}));
}

TEST(JSONReferenceTest, sharesItsValueWithItsCopies) {
  const JSONReference reference = std::string("long enough to be copied somewhere else");

  const JSONReference copy = reference;

  EXPECT_EQ(copy.as<std::string>(), reference.as<std::string>());
}

TEST(JSONReferenceTest, throwsWhatTheEncoderThrows) {
  const JSONReference reference = std::vector<double>{1, INFINITY};

  EXPECT_THROW(reference.asData(), EncodingError);
  EXPECT_THROW(reference.asJSON(), EncodingError);
}

struct Snake {
  int theNumber = 0;
  static JSONEncoder encoder() { return JSONEncoder({.keys = JSONKeyStrategy::snakeCase}); }
};

TEST(JSONReferenceTest, isWrittenWithDefaultSettingsWhateverEncoderTheTypeNames) {
  EXPECT_EQ(velisand::asJSON(Snake{1}).view(), R"({"the_number":1})");

  EXPECT_EQ(JSONReference(Snake{1}).asData().view(), R"({"theNumber":1})");
}

TEST(JSONReferenceTest, canBeUsedWhenItWasMovedFrom) {
  JSONReference reference = Point{1, 2};
  const JSONReference taken = std::move(reference);

  EXPECT_EQ(reference.asData(), taken.asData());  // NOLINT(bugprone-use-after-move): what is tested
}

TEST(JSONReferenceTest, aRequestWithItCanBeUsedWhenItWasMovedFrom) {
  JSONPostRequest<EmptyJSON> request("https://example.com", Point{1, 2});
  const auto taken = std::move(request);

  EXPECT_EQ(request.urlRequest().httpBody, taken.urlRequest().httpBody);  // NOLINT(bugprone-use-after-move)
}

struct ReferenceFirst {
  JSONReference content;
  int after = 0;
};
struct OptionalReferenceFirst {
  std::optional<JSONReference> content;
  int after = 0;
};

TEST(JSONReferenceTest, mayBeTheFirstMemberOfAModel) {
  EXPECT_EQ(velisand::asJSON(ReferenceFirst{Point{1, 2}, 3}).view(), R"({"content":{"x":1,"y":2},"after":3})");
  EXPECT_EQ(velisand::asJSON(OptionalReferenceFirst{JSONReference(7), 3}).view(), R"({"content":7,"after":3})");
}

TEST(EmptyJSONTest, isMadeOfAnyDocument) {
  for (const char* const text : {"{}", "[]", "null", "7", "\"text\"", R"({"a":[1,{"b":null}]})", " [1] "})
    EXPECT_EQ(velisand::fromJSON<EmptyJSON>(Data(text)), EmptyJSON()) << text;
}

TEST(EmptyJSONTest, isNotMadeOfWhatIsNoDocument) {
  for (const char* const text : {"", "{", "nul", "[1,]", "{} x"})
    EXPECT_THROW(EmptyJSON{Data(text)}, DecodingError) << text;
}

TEST(EmptyJSONTest, isWrittenAsAnEmptyObject) {
  EXPECT_EQ(EmptyJSON().asData(), Data("{}"));
  EXPECT_EQ(jsonEncoder().encode(std::vector<EmptyJSON>(2)), Data("[{},{}]"));
}

TEST(EmptyJSONTest, isMadeOfAFile) {
  const testkit::TemporaryDirectory directory;
  const std::string path = directory.write("empty.json", "[1, 2]");

  EXPECT_EQ(EmptyJSON(URL::file(path)), EmptyJSON());
  EXPECT_THROW(EmptyJSON(URL::file(path + "x")), Error);
  EXPECT_THROW(EmptyJSON(URL("http://127.0.0.1/a")), Error);
}

TEST(SharedCodersTest, areMadeOnce) {
  EXPECT_EQ(&jsonEncoder(), &jsonEncoder());
  EXPECT_EQ(&jsonDecoder(), &jsonDecoder());
}

}  // namespace
}  // namespace corvane
