#include "Platform/Foundation/Error.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Foundation/ErrorCode.hpp"

namespace sample {

class Describing {
 public:
  virtual ~Describing() = default;
  virtual std::string detail() const = 0;
};

class ParseError final : public platform::CustomErrorBase<ParseError>, public Describing {
 public:
  explicit ParseError(std::string text) : text_(std::move(text)) {}
  std::string message() const override { return "Cannot parse: " + text_; }
  std::int64_t errorCode() const override { return 7; }
  platform::Dictionary errorUserInfo() const override { return {{"text", text_}}; }
  std::string detail() const override { return "detail of " + text_; }

 private:
  std::string text_;
};

struct Unrelated final {};

}  // namespace sample

namespace {

using platform::CustomNSError;
using platform::Dictionary;
using platform::Error;
using platform::NSError;
using sample::ParseError;

template <class Value>
Error errorOfThrown(const Value& value) {
  try {
    throw value;
  } catch (...) {
    return Error::current();
  }
}

TEST(ErrorTest, tellsThePartsItWasMadeOf) {
  const Error error("com.example.app", 12, "Something failed.", {{"key", "value"}});

  EXPECT_EQ(error.domain(), "com.example.app");
  EXPECT_EQ(error.code(), 12);
  EXPECT_EQ(error.message(), "Something failed.");
  EXPECT_STREQ(error.what(), "Something failed.");
  EXPECT_EQ(error.userInfo(), (Dictionary{{"key", "value"}, {"NSLocalizedDescription", "Something failed."}}));
  EXPECT_TRUE(error.is<NSError>());
}

TEST(ErrorTest, keepsTheErrorsOwnDescriptionInTheUserInformation) {
  const Error error("d", 1, "message", {{"NSLocalizedDescription", "own"}});

  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", "own"}}));
}

TEST(ErrorTest, tellsWhatACustomErrorSays) {
  const Error error = ParseError("x");

  EXPECT_EQ(error.domain(), "sample::ParseError");
  EXPECT_EQ(error.code(), 7);
  EXPECT_EQ(error.message(), "Cannot parse: x");
  EXPECT_EQ(error.userInfo(), (Dictionary{{"text", "x"}, {"NSLocalizedDescription", "Cannot parse: x"}}));
}

TEST(ErrorTest, givesTheHeldErrorByItsTypeAndItsInterfaces) {
  const Error error = ParseError("x");

  ASSERT_NE(error.as<ParseError>(), nullptr);
  EXPECT_EQ(error.as<ParseError>()->detail(), "detail of x");
  ASSERT_NE(error.as<sample::Describing>(), nullptr);
  EXPECT_EQ(error.as<sample::Describing>()->detail(), "detail of x");
  EXPECT_TRUE(error.is<CustomNSError>());
  EXPECT_TRUE(error.is<std::exception>());
  EXPECT_FALSE(error.is<NSError>());
  EXPECT_FALSE(error.is<sample::Unrelated>());
  EXPECT_FALSE(error.is<int>());
}

TEST(ErrorTest, sharesWhatItHoldsWithItsCopies) {
  const Error error = ParseError("x");

  const Error copy = error;  // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested

  EXPECT_EQ(copy.as<ParseError>(), error.as<ParseError>());
  EXPECT_EQ(copy.what(), error.what());
}

TEST(ErrorTest, keepsTheTypeOfAThrownCustomError) {
  const Error error = errorOfThrown(ParseError("thrown"));

  ASSERT_TRUE(error.is<ParseError>());
  EXPECT_EQ(error.message(), "Cannot parse: thrown");
  EXPECT_THROW(error.raise(), ParseError);
}

TEST(ErrorTest, passesOnAThrownErrorAsItIs) {
  const Error thrown = ParseError("x");

  const Error error = errorOfThrown(thrown);

  EXPECT_EQ(error.as<ParseError>(), thrown.as<ParseError>());
}

TEST(ErrorTest, describesAThrownStandardException) {
  const Error error = errorOfThrown(std::runtime_error("out of luck"));

  EXPECT_EQ(error.message(), "out of luck");
  EXPECT_EQ(error.domain(), "std::runtime_error");
  EXPECT_EQ(error.code(), 0);
  EXPECT_EQ(error.userInfo(), (Dictionary{{"NSLocalizedDescription", "out of luck"}}));
  ASSERT_TRUE(error.is<std::runtime_error>());
  EXPECT_STREQ(error.as<std::exception>()->what(), "out of luck");
  EXPECT_FALSE(error.is<std::logic_error>());
  EXPECT_FALSE(error.is<CustomNSError>());
  EXPECT_THROW(error.raise(), std::runtime_error);
}

TEST(ErrorTest, namesTheTypeOfAnythingElseThatWasThrown) {
  const Error error = errorOfThrown(42);

  EXPECT_EQ(error.message(), "unknown exception of type int");
  EXPECT_EQ(error.domain(), "int");
  ASSERT_TRUE(error.is<int>());
  EXPECT_EQ(*error.as<int>(), 42);
  EXPECT_FALSE(error.is<long>());
  EXPECT_THROW(error.raise(), int);
}

TEST(ErrorTest, isMadeOfAnExceptionCaughtEarlier) {
  const std::exception_ptr caught = std::make_exception_ptr(std::invalid_argument("bad"));

  const Error error = Error::from(caught);

  EXPECT_TRUE(error.is<std::invalid_argument>());
}

TEST(ErrorTest, isThrownAsErrorWhenItsContentWasNeverThrown) {
  const Error error = ParseError("x");

  try {
    error.raise();
  } catch (const Error& caught) {
    EXPECT_EQ(caught.as<ParseError>(), error.as<ParseError>());
  }
}

TEST(ErrorTest, isCaughtAsAStandardExceptionWithItsMessage) {
  try {
    throw Error(ParseError("x"));
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "Cannot parse: x");
  }
}

TEST(ErrorTest, staysUsableAfterBeingMovedFrom) {
  Error error("d", 1, "message");
  const Error taken = std::move(error);

  EXPECT_EQ(taken.message(), "message");
  EXPECT_EQ(error.message(), "message");  // NOLINT(bugprone-use-after-move): that is the promise
}

TEST(ErrorTest, isEqualByDomainCodeAndMessage) {
  EXPECT_EQ(Error("d", 1, "m"), Error("d", 1, "m", {{"key", 1}}));
  EXPECT_NE(Error("d", 1, "m"), Error("e", 1, "m"));
  EXPECT_NE(Error("d", 1, "m"), Error("d", 2, "m"));
  EXPECT_NE(Error("d", 1, "m"), Error("d", 1, "n"));
}

TEST(ErrorTest, printsItsMessage) {
  std::ostringstream stream;
  stream << Error("d", 1, "message");

  EXPECT_EQ(stream.str(), "message");
}

TEST(ErrorTest, tellsTheNewMessageAfterACustomErrorWasAssigned) {
  ParseError error("old");
  EXPECT_STREQ(error.what(), "Cannot parse: old");

  error = ParseError("new");

  EXPECT_STREQ(error.what(), "Cannot parse: new");
}

TEST(ErrorTest, givesItsTextOnManyThreadsAtOnce) {
  const Error error = ParseError("x");
  std::vector<const char*> texts(4);
  std::vector<std::thread> threads;

  for (auto& text : texts) threads.emplace_back([&text, &error] { text = error.what(); });
  for (auto& thread : threads) thread.join();

  EXPECT_THAT(texts, testing::Each(testing::Eq(error.what())));
  EXPECT_STREQ(error.what(), "Cannot parse: x");
}

TEST(ErrorDeathTest, trapsWhereNoExceptionIsHandled) {
  EXPECT_DEATH(Error::current(), "Corvane: Error::current: no exception is being handled");
  EXPECT_DEATH(Error::from(nullptr), "Corvane: Error::from: there is no exception");
}

TEST(ErrorCodeTest, hasACategoryNamedLikeTheDomain) {
  const std::error_code code = toErrorCode(Error("NSURLErrorDomain", -1001, "The request timed out."));

  EXPECT_STREQ(code.category().name(), "NSURLErrorDomain");
  EXPECT_EQ(code.value(), -1001);
  EXPECT_EQ(code.message(), "NSURLErrorDomain error -1001");
}

TEST(ErrorCodeTest, comparesAsDomainsAndCodesDo) {
  const std::error_code code = toErrorCode(Error("d", 1, "m"));

  EXPECT_EQ(code, toErrorCode(Error("d", 1, "another message")));
  EXPECT_NE(code, toErrorCode(Error("d", 2, "m")));
  EXPECT_NE(code, toErrorCode(Error("e", 1, "m")));
}

}  // namespace
