#if __has_include(<nlohmann/json.hpp>)

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"
#include "Platform/Foundation/JSON/NlohmannCodec.hpp"

namespace platform::json_nlohmann {

struct Macro {
  std::string name;
  std::vector<int> numbers;

  friend bool operator==(const Macro&, const Macro&) = default;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Macro, name, numbers)

struct Refused final : std::runtime_error {
  Refused() : std::runtime_error("refused") {}
};

/// Converted by hand, and with a member that the coders would not know.
class Version {
 public:
  int major() const { return major_; }

  friend void from_json(const nlohmann::json& json, Version& version) {
    version.major_ = json.at("major").get<int>();
    if (version.major_ < 0) throw Refused();
  }
  friend void to_json(nlohmann::json& json, const Version& version) { json = {{"major", version.major_}}; }

 private:
  int major_ = 0;
};

struct WriteOnly {
  int value;
};
void to_json(nlohmann::json& json, const WriteOnly& value) { json = value.value; }

struct Model {
  int id;
  Macro macro;
  std::optional<Version> version;
  std::vector<Version> history;
};

}  // namespace platform::json_nlohmann

template <>
struct platform::JSONCodec<platform::json_nlohmann::Macro> : platform::NlohmannCodec<platform::json_nlohmann::Macro> {};
template <>
struct platform::JSONCodec<platform::json_nlohmann::Version>
    : platform::NlohmannCodec<platform::json_nlohmann::Version> {};
template <>
struct platform::JSONCodec<platform::json_nlohmann::WriteOnly>
    : platform::NlohmannCodec<platform::json_nlohmann::WriteOnly> {};

namespace platform::json_nlohmann {
namespace {

using platform::testing::decoded;
using platform::testing::encoded;
using platform::testing::encodingRefusal;
using platform::testing::refusal;

TEST(NlohmannCodecTest, readsAndWritesATypeByItsConversions) {
  const Macro macro{"a\"\u00e4", {1, 2}};

  EXPECT_EQ(encoded(macro), "{\"name\":\"a\\\"\u00e4\",\"numbers\":[1,2]}");
  EXPECT_EQ(decoded<Macro>(" {\"numbers\" : [1,2], \"name\":\"a\\\"\\u00e4\"} "), macro);
}

TEST(NlohmannCodecTest, standsInModels) {
  const char* const text =
      R"({"id":1,"macro":{"name":"m","numbers":[]},"version":{"major":2},"history":[{"major":1},{"major":2}]})";
  const auto model = decoded<Model>(text);

  EXPECT_EQ(model.version->major(), 2);
  EXPECT_EQ(model.history.at(0).major(), 1);
  EXPECT_EQ(encoded(model), text);
}

TEST(NlohmannCodecTest, namesThePlaceOfWhatTheLibraryRefuses) {
  const DecodingError error = refusal<Model>(R"({"id":1,"history":[{"major":1}, {"major":"2"}]})");

  EXPECT_EQ(error.which(), DecodingError::Case::dataCorrupted);
  EXPECT_EQ(error.message().substr(0, 12), "history[1]: ");
  EXPECT_NE(error.problem().find("type must be number, but is string"), std::string::npos) << error.problem();
  EXPECT_EQ(error.byteOffset(), 32U);
  EXPECT_NE(refusal<Version>("{}").problem().find("key 'major' not found"), std::string::npos);
}

TEST(NlohmannCodecTest, refusesWhatIsNotJSONAsEverywhere) {
  EXPECT_EQ(refusal<Version>(R"({"major":1)").problem(),
            "the text is not JSON: expected a comma or a closing brace at byte 10, where the text ends");
}

TEST(NlohmannCodecTest, letsErrorsOfAConversionThroughUnchanged) {
  EXPECT_THROW(decoded<Model>(R"({"id":1,"version":{"major":-1}})"), Refused);
}

TEST(NlohmannCodecTest, namesThePlaceOfWhatCannotBeWritten) {
  const EncodingError error = encodingRefusal(Model{1, {"\xFF", {}}, {}, {}});

  EXPECT_EQ(error.message().substr(0, 7), "macro: ");
  EXPECT_NE(error.problem().find("invalid UTF-8"), std::string::npos) << error.problem();
}

TEST(NlohmannCodecTest, mayWriteOnly) {
  static_assert(JSONWritable<WriteOnly> && !detail::DecodesItself<WriteOnly>);

  EXPECT_EQ(encoded(std::vector<WriteOnly>{{1}, {2}}), "[1,2]");
}

}  // namespace
}  // namespace platform::json_nlohmann

#endif
