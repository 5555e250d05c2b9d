#include "Vantorel/ErrorLoggable.hpp"

#include <gtest/gtest.h>

#include "Velisand/AppError.hpp"

namespace vantorel {
namespace {

using platform::Dictionary;
using platform::NSError;

class Plain final : public velisand::AppError<Plain>, public ErrorLoggable {
 public:
  std::string message() const override { return "plain trouble"; }
};

class Detailed final : public velisand::AppError<Detailed>, public ErrorLoggable {
 public:
  std::string message() const override { return "detailed trouble"; }
  std::string errorDomain() const override { return "Test.Detailed"; }
  std::int64_t errorCode() const override { return 4; }
  std::optional<Dictionary> additionalLogInfo() const override { return Dictionary{{"tray", 2}}; }
};

TEST(ErrorLoggableTest, logsTheMessageAndNothingMoreByDefault) {
  const Plain error;

  EXPECT_EQ(error.logMessage(), "plain trouble");
  EXPECT_EQ(error.additionalLogInfo(), std::nullopt);
}

TEST(ErrorLoggableTest, isFoundInsideAnError) {
  const platform::Error error = Detailed();

  ASSERT_TRUE(error.is<ErrorLoggable>());
  EXPECT_EQ(error.as<ErrorLoggable>()->logMessage(), "detailed trouble");
}

TEST(LogInfoDictionaryTest, holdsMessageDomainCodeAndWhatTheErrorAdds) {
  EXPECT_EQ(createLogInfoDictionary(Detailed()),
            (Dictionary{{"message", "detailed trouble"}, {"domain", "Test.Detailed"}, {"code", 4}, {"tray", 2}}));
}

TEST(LogInfoDictionaryTest, worksForErrorsThatAreNotLoggable) {
  EXPECT_EQ(createLogInfoDictionary(NSError("Printer", 7, "Out of paper")),
            (Dictionary{{"message", "Out of paper"}, {"domain", "Printer"}, {"code", 7}}));
}

}  // namespace
}  // namespace vantorel
