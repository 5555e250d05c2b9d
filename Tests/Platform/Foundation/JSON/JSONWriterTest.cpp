#include "Platform/Foundation/JSON/JSONWriter.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONTesting.hpp"

namespace platform {
namespace {

using platform::testing::repeated;

TEST(JSONWriterTest, writesContainersInsideOfEachOther) {
  JSONWriter writer;
  {
    JSONWriter::Object object(writer);
    object.key("numbers");
    {
      JSONWriter::Array array(writer);
      array.element();
      writer.encode(1);
      array.element();
      {
        const JSONWriter::Array empty(writer);
      }
      array.element();
      writer.encode("text");
    }
    object.key("nothing");
    writer.writeNull();
    object.key("empty");
    {
      const JSONWriter::Object empty(writer);
    }
  }

  EXPECT_EQ(writer.finish().text(), R"({"numbers":[1,[],"text"],"nothing":null,"empty":{}})");
}

TEST(JSONWriterTest, writesKeysAsTheyAreWhateverTheStrategy) {
  JSONWriter writer({.keys = JSONKeyStrategy::snakeCase});
  {
    JSONWriter::Object object(writer);
    object.key("firstName\n");
    writer.encode(true);
  }

  EXPECT_EQ(writer.finish().text(), R"({"firstName\n":true})");
}

TEST(JSONWriterTest, takesTextThatIsJSONAlready) {
  JSONWriter writer;
  {
    JSONWriter::Array array(writer);
    array.element();
    writer.writeRaw(R"({"a": 1.0})");
    array.element();
    writer.writeRaw(repeated("9", 100'000));
  }

  EXPECT_EQ(writer.finish().text(), R"([{"a": 1.0},)" + repeated("9", 100'000) + "]");
}

TEST(JSONWriterTest, countsWhatItHasWritten) {
  JSONWriter writer;
  EXPECT_EQ(writer.count(), 0U);

  writer.encode(std::vector{1, 2});

  EXPECT_EQ(writer.count(), 5U);
  EXPECT_EQ(writer.finish().count(), 5U);
}

TEST(JSONWriterTest, failsWithTheWayToTheValue) {
  JSONWriter writer;
  JSONWriter::Object object(writer);
  object.key("a");
  JSONWriter::Array array(writer);
  array.element();
  writer.encode(1);
  array.element();

  try {
    writer.fail("not this one");
  } catch (const EncodingError& error) {
    EXPECT_EQ(error.message(), "a[1]: not this one");
  }
}

TEST(JSONWriterTest, goesDown512LevelsAndNoFurther) {
  struct Descent {
    static void go(JSONWriter& writer, int levels) {
      JSONWriter::Array array(writer);
      if (levels == 1) return;
      array.element();
      go(writer, levels - 1);
    }
  };
  JSONWriter fine;
  JSONWriter refused;

  Descent::go(fine, 512);

  EXPECT_EQ(fine.finish().text(), repeated("[", 512) + repeated("]", 512));
  EXPECT_THROW(Descent::go(refused, 513), EncodingError);
}

TEST(JSONWriterTest, growsWithWhatIsWritten) {
  JSONWriter writer;
  std::string expected = "[";
  {
    JSONWriter::Array array(writer);
    for (std::size_t length = 0; length < 2'000; ++length) {
      array.element();
      writer.encode(std::string(length, 'x'));
      expected.append(length == 0 ? "\"" : ",\"").append(length, 'x').append("\"");
    }
  }

  EXPECT_EQ(writer.finish().text(), expected + "]");
}

}  // namespace
}  // namespace platform
