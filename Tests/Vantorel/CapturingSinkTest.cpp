#include "Vantorel/CapturingSink.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace vantorel {
namespace {

LogRecord recordOf(std::string message) { return {.message = std::move(message)}; }

auto saying(std::string message) {
  return [message](const LogRecord& record) { return record.message == message; };
}

TEST(CapturingSinkTest, keepsRecordsInTheirOrder) {
  CapturingSink sink;

  sink.write(recordOf("one"));
  sink.write(recordOf("two"));

  ASSERT_EQ(sink.records().size(), 2u);
  EXPECT_EQ(sink.records()[0].message, "one");
  EXPECT_EQ(sink.records()[1].message, "two");
}

TEST(CapturingSinkTest, waitsForARecordOfAnotherThread) {
  CapturingSink sink;
  std::thread writer([&] {
    sink.write(recordOf("one"));
    sink.write(recordOf("two"));
  });

  const auto record = sink.waitFor(saying("two"));

  writer.join();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->message, "two");
}

TEST(CapturingSinkTest, findsARecordThatIsHereAlready) {
  CapturingSink sink;
  sink.write(recordOf("one"));

  EXPECT_TRUE(sink.waitFor(saying("one"), platform::Seconds(0)));
}

TEST(CapturingSinkTest, givesUpAtTheLimit) {
  const CapturingSink sink;

  EXPECT_EQ(sink.waitFor(saying("never"), platform::Seconds(0.01)), std::nullopt);
}

TEST(CapturingSinkTest, forgetsOnRequest) {
  CapturingSink sink;
  sink.write(recordOf("one"));

  sink.clear();

  EXPECT_TRUE(sink.records().empty());
}

}  // namespace
}  // namespace vantorel
