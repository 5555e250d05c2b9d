#include "Vantorel/Logger.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "CorvaneTesting/LogCapture.hpp"
#include "Vantorel/LogSink.hpp"

namespace vantorel {
namespace {

using corvane::testkit::LogCapture;
using platform::Dictionary;
using testing::ContainsRegex;
using testing::HasSubstr;

bool always(const LogRecord&) { return true; }

TEST(LoggerTest, givesTheSinkEverythingItWasTold) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", always);
  const auto before = std::chrono::system_clock::now();

  logger.error("Out of paper", Dictionary{{"tray", 2}}, "printing", "Printer.cpp", "print()", 12, true);

  const auto records = capture->records();
  ASSERT_EQ(records.size(), 1u);
  const auto& record = records.front();
  EXPECT_EQ(record.level, LogLevel::error);
  EXPECT_EQ(record.message, "Out of paper");
  EXPECT_EQ(record.userInfo, (Dictionary{{"tray", 2}}));
  EXPECT_EQ(record.category, "printing");
  EXPECT_EQ(record.file, "Printer.cpp");
  EXPECT_EQ(record.function, "print()");
  EXPECT_EQ(record.line, 12);
  EXPECT_TRUE(record.shouldLogStackTrace);
  EXPECT_EQ(record.logger, "org.corvane.test");
  EXPECT_GE(record.time, before);
}

TEST(LoggerTest, takesThePlaceOfTheCallByDefault) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", always);

  logger.debug("here");
  const int line = __LINE__ - 1;

  const auto record = capture->records().at(0);
  EXPECT_EQ(record.file, __FILE__);
  EXPECT_EQ(record.line, line);
  EXPECT_EQ(record.function, "TestBody");
  EXPECT_EQ(record.userInfo, std::nullopt);
  EXPECT_EQ(record.category, std::nullopt);
}

TEST(LoggerTest, hasAFunctionForEachLevel) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", always);

  logger.debug("a");
  logger.info("b");
  logger.error("c");
  logger.fault("d");

  std::vector<std::string> levels;
  for (const auto& record : capture->records()) levels.emplace_back(name(record.level));
  EXPECT_THAT(levels, testing::ElementsAre("debug", "info", "error", "fault"));
}

TEST(LoggerTest, dropsWhatItsValidationRefuses) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", [](const LogRecord& record) { return record.level != LogLevel::debug; });

  logger.debug("chatter");
  logger.fault("trouble");

  EXPECT_THAT(capture.messages(), testing::ElementsAre("trouble"));
}

TEST(LoggerTest, asksForStackTracesWhenTheProcessWantsThem) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", always);

  Logger::shouldLogStackTrace = true;
  logger.info("with");
  Logger::shouldLogStackTrace = false;
  logger.info("without");

  EXPECT_TRUE(capture->records().at(0).shouldLogStackTrace);
  EXPECT_FALSE(capture->records().at(1).shouldLogStackTrace);
}

TEST(LoggerTest, mayBeUsedByManyThreadsWhileTheSinkChanges) {
  const LogCapture capture;
  const Logger logger("org.corvane.test", always);
  const auto sink = logSink();
  std::vector<std::thread> threads;
  for (int count = 0; count < 4; ++count)
    threads.emplace_back([&] {
      for (int message = 0; message < 50; ++message) logger.info("message");
    });
  threads.emplace_back([&] {
    for (int count = 0; count < 50; ++count) setLogSink(sink);
  });

  for (auto& thread : threads) thread.join();

  EXPECT_EQ(capture->records().size(), 200u);
}

TEST(LogSinkTest, bringsTheSinkFromBeforeBackAfterACapture) {
  const auto before = logSink();

  {
    const LogCapture capture;
    EXPECT_NE(logSink(), before);
  }

  EXPECT_EQ(logSink(), before);
}

class StandardErrorSinkTest : public testing::Test {
 protected:
  StandardErrorSinkTest() { setLogSink(nullptr); }

  static std::string written(const std::function<void()>& log) {
    testing::internal::CaptureStderr();
    log();
    return testing::internal::GetCapturedStderr();
  }
  const Logger logger{"org.corvane.test", always};
};

TEST_F(StandardErrorSinkTest, writesALineForPeople) {
  const auto text = written([&] { logger.error("Out of {paper}", Dictionary{{"tray", 2}}, "printing", "", "", 0); });

  EXPECT_THAT(text, ContainsRegex("^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:.]+ error org.corvane.test: \\[printing\\] Out of "
                                  "\\{paper\\}\n    tray: 2\n$"));
}

TEST_F(StandardErrorSinkTest, writesTheStackWhenTheRecordWantsIt) {
  const auto text = written([&] { logger.fault("lost", {}, {}, "", "", 0, true); });

  EXPECT_THAT(text, HasSubstr("critical org.corvane.test: lost\n    at "));
}

}  // namespace
}  // namespace vantorel
