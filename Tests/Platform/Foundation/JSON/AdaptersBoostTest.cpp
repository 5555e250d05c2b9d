#ifdef CORVANE_TESTS_BOOST_JSON

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/BoostCodec.hpp"
#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform::json_boost {

struct Refused final : std::runtime_error {
  Refused() : std::runtime_error("refused") {}
};

class Version {
 public:
  Version() = default;
  Version(std::int64_t major, std::string name) : major_(major), name_(std::move(name)) {}
  std::int64_t major() const { return major_; }

  friend Version tag_invoke(boost::json::value_to_tag<Version>, const boost::json::value& json) {
    const boost::json::object& object = json.as_object();
    const auto major = boost::json::value_to<std::int64_t>(object.at("major"));
    if (major < 0) throw Refused();
    return {major, boost::json::value_to<std::string>(object.at("name"))};
  }
  friend void tag_invoke(boost::json::value_from_tag, boost::json::value& json, const Version& version) {
    json = {{"major", version.major_}, {"name", version.name_}};
  }

 private:
  std::int64_t major_ = 0;
  std::string name_;
};

struct Model {
  int id;
  std::optional<Version> version;
  std::vector<Version> history;
};

}  // namespace platform::json_boost

template <>
struct platform::JSONCodec<platform::json_boost::Version> : platform::BoostCodec<platform::json_boost::Version> {};
/// Known to the library by itself.
template <>
struct platform::JSONCodec<std::pair<int, std::string>> : platform::BoostCodec<std::pair<int, std::string>> {};

namespace platform::json_boost {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::encodingRefusal;
using platform::testing::refusal;

TEST(BoostCodecTest, readsAndWritesATypeByItsConversions) {
  using Pair = std::pair<int, std::string>;

  EXPECT_EQ(encoded(Version(2, "b\"\u00e4")), "{\"major\":2,\"name\":\"b\\\"\u00e4\"}");
  EXPECT_EQ(decoded<Version>(R"( {"name" : "b", "major":2} )").major(), 2);
  EXPECT_EQ(decoded<Pair>(R"([1,"one"])"), Pair(1, "one"));
}

TEST(BoostCodecTest, standsInModels) {
  const char* const text =
      R"({"id":1,"version":{"major":2,"name":"b"},"history":[{"major":1,"name":"a"},{"major":2,"name":"b"}]})";
  const auto model = decoded<Model>(text);

  EXPECT_EQ(model.version->major(), 2);
  EXPECT_EQ(model.history.at(0).major(), 1);
  EXPECT_EQ(encoded(model), text);
}

TEST(BoostCodecTest, namesThePlaceOfWhatTheLibraryRefuses) {
  for (const char* wrong : {"{}", "[]", R"({"major":"2","name":"b"})", R"({"major":2.5,"name":"b"})"}) {
    const DecodingError error =
        refusal<Model>(R"({"id":1,"history":[{"major":1,"name":"a"}, )" + std::string(wrong) + "]}");

    EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
    EXPECT_EQ(error.message().substr(0, 12), "history[1]: ");
    EXPECT_FALSE(error.problem().empty());
    EXPECT_EQ(error.byteOffset(), 43U);
  }
}

TEST(BoostCodecTest, refusesWhatIsNotJSONAsEverywhere) {
  EXPECT_EQ(refusal<Version>(R"({"major":1)").problem(),
            "the text is not JSON: expected a comma or a closing brace at byte 10, where the text ends");
}

TEST(BoostCodecTest, readsWhatIsNestedAsDeeplyAsEverywhere) {
  const std::string deep = testing::repeated("[", 500) + testing::repeated("]", 500);

  EXPECT_EQ(decoded<Version>(R"({"major":1,"name":"a","other":)" + deep + "}").major(), 1);
}

TEST(BoostCodecTest, letsErrorsOfAConversionThroughUnchanged) {
  EXPECT_THROW(decoded<Model>(R"({"id":1,"version":{"major":-1,"name":""}})"), Refused);
}

TEST(BoostCodecTest, namesThePlaceOfWhatCannotBeWritten) {
  EXPECT_EQ(encodingRefusal(Model{1, {}, {{1, "\xFF"}}}).message(), "history[0]: the text is not UTF-8");
}

}  // namespace
}  // namespace platform::json_boost

#endif
