#include "Vantorel/LogRecord.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

using platform::AnyValue;
using platform::Dictionary;

TEST(LogRecordTest, readsAsItsMessageWhenThereIsNothingElse) {
  EXPECT_EQ(text({.level = LogLevel::info, .message = "hello"}), "hello");
}

TEST(LogRecordTest, tellsCategoryAndPlace) {
  const LogRecord record{
      .message = "hello", .category = "greeting", .file = "Sources/App/Greeter.cpp", .function = "greet", .line = 7};

  EXPECT_EQ(text(record), "[greeting] hello (Greeter.cpp:7 greet)");
}

TEST(LogRecordTest, indentsNestedInformation) {
  const LogRecord record{
      .message = "answer",
      .userInfo = Dictionary{{"status", "200 (success)"},
                             {"response", Dictionary{{"headers", Dictionary{{"Server", "x"}}}, {"body", "0 bytes"}}},
                             {"list", AnyValue::List{1, "two"}},
                             {"after", true}}};

  EXPECT_EQ(text(record),
            "answer\n"
            "    status: 200 (success)\n"
            "    response:\n"
            "        headers:\n"
            "            Server: x\n"
            "        body: 0 bytes\n"
            "    list:\n"
            "        - 1\n"
            "        - two\n"
            "    after: true");
}

TEST(LogRecordTest, keepsTheLinesOfAValueTogether) {
  const LogRecord record{.message = "json", .userInfo = Dictionary{{"text", "{\n}"}}};

  EXPECT_EQ(text(record), "json\n    text: {\n        }");
}

TEST(LogRecordTest, makesDeferredInformationWhenItIsRead) {
  int calls = 0;
  const LogRecord record{.message = "late", .userInfo = Dictionary{{"error", AnyValue::Deferred([&calls] {
                                                                      ++calls;
                                                                      return Dictionary{{"code", 3}};
                                                                    })}}};
  EXPECT_EQ(calls, 0);

  EXPECT_EQ(text(record), "late\n    error:\n        code: 3");
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vantorel
