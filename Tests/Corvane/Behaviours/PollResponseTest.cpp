#include "Corvane/Behaviours/Detail/PollResponse.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"

namespace corvane {
namespace {

using Result = HTTPRetryResult<DataResponse>;
using vantorel::LogLevel;

DataResponse named(const char* text) { return DataResponse(DataResult::success(Data(text)), {.data = Data(text)}); }

std::string textOfPoll(Result result) { return detail::responseOfPoll(std::move(result)).data->text(); }

TEST(PollResponseTest, isTheOneThatSucceeded) {
  const testkit::LogCapture log;

  EXPECT_EQ(textOfPoll(Result::noFailure(named("a"))), "a");
  EXPECT_EQ(textOfPoll(Result::partialFailure(named("c"), {named("a"), named("b")})), "c");
  EXPECT_TRUE(log->records().empty());
}

TEST(PollResponseTest, isTheLastOfThoseThatFailed) {
  EXPECT_EQ(textOfPoll(Result::totalFailure({named("a"), named("b")})), "b");
}

TEST(PollResponseTest, isTakenFromAResultThatGoes) {
  auto result = Result::partialFailure(named("c"), {});

  const auto response = std::move(result).takeLastResponse();

  ASSERT_TRUE(response);
  EXPECT_EQ(response->data->text(), "c");
}

TEST(PollResponseTest, isAnErrorWhenThereIsNone) {
  const testkit::LogCapture log;

  const DataResponse response = detail::responseOfPoll(Result::totalFailure({}));

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(*response.result.error()->as<HTTPUnknownError>(),
            HTTPUnknownError::completionWithoutResponseFromPolling("HTTPRetryAtempting",
                                                                   "sendFromPoll(completionQueue:completion:)", 116));
  EXPECT_EQ(response.data, std::nullopt);
  EXPECT_EQ(response.url, std::nullopt);
  EXPECT_EQ(response.urlResponse, nullptr);
}

TEST(PollResponseTest, isLoggedWhenThereIsNone) {
  const testkit::LogCapture log;

  (void)detail::responseOfPoll(Result::totalFailure({}));

  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.level, LogLevel::fault);
  EXPECT_EQ(record.message, "Hit completion without some sort response. This is an invalid state.");
  EXPECT_EQ(record.function, "sendFromPoll(completionQueue:completion:)");
  EXPECT_EQ(record.line, 115);
}

}  // namespace
}  // namespace corvane
