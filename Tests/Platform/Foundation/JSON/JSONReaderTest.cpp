#include "Platform/Foundation/JSON/JSONReader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::repeated;
using ::testing::ElementsAre;

TEST(JSONReaderTest, tellsTheKindOfWhatComesNext) {
  const Data document(R"( [{}, [], "", 1, -1, true, false, null])");
  JSONReader reader(document);
  std::vector<JSONKind> kinds;

  EXPECT_EQ(reader.kind(), JSONKind::array);
  for (JSONReader::Array array(reader); array.next();) kinds.push_back(reader.kind());

  EXPECT_THAT(kinds, ElementsAre(JSONKind::object, JSONKind::array, JSONKind::string, JSONKind::number,
                                 JSONKind::number, JSONKind::boolean, JSONKind::boolean, JSONKind::null));
  EXPECT_NO_THROW(reader.finish());
}

TEST(JSONReaderTest, goesThroughMembersInTheirOrderAndSeesAllOfThem) {
  const Data document(R"({"a":1,"b":{"a":[2]},"\u0061":3,"c":"x"})");
  JSONReader reader(document);
  std::vector<std::string> keys;
  int sum = 0;

  for (JSONReader::Object object(reader); object.next();) {
    keys.emplace_back(object.key());
    if (object.key() == "a") sum += reader.decode<int>();
  }

  EXPECT_THAT(keys, ElementsAre("a", "b", "a", "c"));
  EXPECT_EQ(sum, 4);
  EXPECT_NO_THROW(reader.finish());
}

TEST(JSONReaderTest, skipsWhatIsNotRead) {
  const Data document(R"([1, {"a":[[]]}, "\"]", [] ,2])");
  JSONReader reader(document);
  std::vector<int> numbers;

  for (JSONReader::Array array(reader); array.next();) {
    if (reader.kind() == JSONKind::number) numbers.push_back(reader.decode<int>());
  }

  EXPECT_THAT(numbers, ElementsAre(1, 2));
}

TEST(JSONReaderTest, goesThroughContainersInsideOfEachOther) {
  const Data document(R"({"rows":[[1,2],[],[3]],"end":true})");
  JSONReader reader(document);
  std::string trace;

  for (JSONReader::Object object(reader); object.next();) {
    trace.append(object.key());
    if (object.key() != "rows") continue;
    for (JSONReader::Array rows(reader); rows.next();) {
      trace.append("[");
      for (JSONReader::Array row(reader); row.next();) trace.append(std::to_string(reader.decode<int>()));
      trace.append("]");
    }
  }

  EXPECT_EQ(trace, "rows[12][][3]end");
}

TEST(JSONReaderTest, takesANullWhereThereIsOne) {
  const Data document("[null,7]");
  JSONReader reader(document);
  std::vector<bool> nulls;

  for (JSONReader::Array array(reader); array.next();) nulls.push_back(reader.takeNull());

  EXPECT_THAT(nulls, ElementsAre(true, false));
}

TEST(JSONReaderTest, handsOutTheTextOfAValue) {
  const Data document(R"({"a": [1 , {"b":"]"} ] ,"c":-1.0e5 })");
  JSONReader reader(document);
  std::vector<std::string_view> texts;

  for (JSONReader::Object object(reader); object.next();) texts.push_back(reader.readRaw());

  EXPECT_THAT(texts, ElementsAre(R"([1 , {"b":"]"} ])", "-1.0e5"));
}

TEST(JSONReaderTest, tellsWhereItStands) {
  const Data document("  [1 , 22 ]  ");
  JSONReader reader(document);
  std::vector<std::size_t> positions{reader.position()};

  for (JSONReader::Array array(reader); array.next();) positions.push_back(reader.position());

  EXPECT_THAT(positions, ElementsAre(2U, 3U, 7U));
  EXPECT_EQ(reader.position(), document.count());
}

TEST(JSONReaderTest, failsWithTheWayToTheValue) {
  const Data document(R"({"a":[1,{"b": 2}]})");
  JSONReader reader(document);

  try {
    for (JSONReader::Object object(reader); object.next();) {
      for (JSONReader::Array array(reader); array.next();) {
        if (reader.kind() != JSONKind::object) continue;
        for (JSONReader::Object inner(reader); inner.next();) reader.fail("not this one");
      }
    }
    FAIL() << "nothing was thrown";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.message(), "a[1].b: not this one");
    EXPECT_EQ(error.byteOffset(), 14U);
  }
}

TEST(JSONReaderTest, namesTheContainerAfterItsLastMember) {
  const Data document(R"([{"a":1}, {"b":2}])");
  JSONReader reader(document);

  try {
    for (JSONReader::Array array(reader); array.next();) {
      bool hasA = false;
      for (JSONReader::Object object(reader); object.next();) hasA = hasA || object.key() == "a";
      if (!hasA) reader.fail("there is no a");
    }
    FAIL() << "nothing was thrown";
  } catch (const DecodingError& error) {
    EXPECT_EQ(error.message(), "[1]: there is no a");
    EXPECT_EQ(error.byteOffset(), 10U);
  }
}

TEST(JSONReaderTest, refusesAContainerOfAnotherKind) {
  const Data document("[]");
  JSONReader reader(document);

  EXPECT_THROW(JSONReader::Object object(reader), DecodingError);
  EXPECT_NO_THROW(JSONReader::Array array(reader));
}

TEST(JSONReaderTest, goesDown512LevelsAndNoFurther) {
  struct Descent {
    static void go(JSONReader& reader) {
      for (JSONReader::Array array(reader); array.next();) go(reader);
    }
  };
  const Data deepest(repeated("[", 512) + repeated("]", 512));
  const Data deeper(repeated("[", 513) + repeated("]", 513));
  JSONReader fine(deepest);
  JSONReader refused(deeper);

  EXPECT_NO_THROW(Descent::go(fine));
  EXPECT_THROW(Descent::go(refused), DecodingError);
}

TEST(JSONReaderTest, knowsItsStrategies) {
  const Data document("1");
  const JSONReader reader(document, {.dates = JSONDateStrategy::iso8601, .keys = JSONKeyStrategy::snakeCase});

  EXPECT_EQ(reader.strategies().dates, JSONDateStrategy::iso8601);
  EXPECT_EQ(reader.strategies().keys, JSONKeyStrategy::snakeCase);
}

}  // namespace
}  // namespace platform
