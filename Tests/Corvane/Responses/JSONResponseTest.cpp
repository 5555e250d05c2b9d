#include "Corvane/Responses/JSONResponse.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"

namespace corvane {
namespace {

using ::testing::HasSubstr;

struct User {
  std::int64_t id = 0;
  std::string login;
  std::optional<std::string> name;
};
struct Nothing {};
struct Link {
  std::unique_ptr<Link> next;
};
/// Says what is wrong in its own words.
struct Even {
  int value = 0;
};
struct OddNumber final : platform::CustomErrorBase<OddNumber> {
  explicit OddNumber(int value) : number(value) {}
  std::string message() const override { return std::to_string(number) + " is odd"; }
  int number;
};
struct Snake {
  std::string firstName;
  static JSONDecoder decoder() { return JSONDecoder({.keys = JSONKeyStrategy::snakeCase}); }
};

}  // namespace
}  // namespace corvane

template <>
struct corvane::JSONCodec<corvane::Even> {
  static corvane::Even decode(JSONReader& reader) {
    const corvane::Even even{reader.decode<int>()};
    if (even.value % 2 != 0) throw corvane::OddNumber(even.value);
    return even;
  }
};

namespace corvane {
namespace {

static_assert(HTTPResponsable<JSONResponse<User>>);
static_assert(HTTPResponsable<JSONResponse<Link>>);
static_assert(!std::copy_constructible<HTTPResponse<Link>> && std::move_constructible<HTTPResponse<Link>>);
static_assert(HTTPResultable<JSONResult<User>>);

std::shared_ptr<const HTTPURLResponse> httpResponse(int status) {
  const HTTPHeaderFields headers{{"Content-Type", "application/json; charset=utf-8"}, {"Content-Length", "5"}};
  return std::make_shared<HTTPURLResponse>("http://h/user.json", status, "HTTP/1.1", headers);
}

template <class Body>
JSONResponse<Body> response(std::optional<Data> data,
                            std::shared_ptr<const URLResponse> urlResponse = httpResponse(200),
                            std::optional<Error> error = std::nullopt) {
  return JSONResponse<Body>(std::move(data), std::nullopt, std::move(urlResponse), std::move(error));
}

template <class Held, class Body>
const Held* failure(const JSONResponse<Body>& response) {
  return response.result.error() ? response.result.error()->template as<Held>() : nullptr;
}

TEST(JSONResponseTest, decodesTheBytes) {
  const Data bytes(R"({"id":7,"login":"ada"})");

  const auto result = response<User>(bytes);

  ASSERT_TRUE(result.result.body());
  EXPECT_EQ(result.result.body()->id, 7);
  EXPECT_EQ(result.result.body()->login, "ada");
  EXPECT_FALSE(result.result.body()->name);
  EXPECT_EQ(result.result.error(), nullptr);
  EXPECT_EQ(result.data->bytes(), bytes.bytes());
}

TEST(JSONResponseTest, holdsABodyThatCanOnlyBeMoved) {
  auto result = response<Link>(Data(R"({"next": {"next": null}})"));

  ASSERT_NE(result.result.body(), nullptr);
  const Link moved = std::move(*result.result.body());
  EXPECT_NE(moved.next, nullptr);
}

TEST(JSONResponseTest, keepsTheFactsOfTheExchange) {
  const auto urlResponse = httpResponse(201);

  const auto result = response<Nothing>("{}", urlResponse);

  EXPECT_TRUE(result.result.isSuccess());
  EXPECT_EQ(result.status, HTTPStatus::created);
  EXPECT_EQ(result.headers->value("content-length"), "5");
  EXPECT_EQ(result.expectedContentLength, 5);
  EXPECT_EQ(result.suggestedFilename, "user.json");
  EXPECT_EQ(result.mimeType, "application/json");
  EXPECT_EQ(result.textEncodingName, "utf-8");
  EXPECT_EQ(result.url, URL("http://h/user.json"));
  EXPECT_EQ(result.urlResponse, urlResponse);
}

TEST(JSONResponseTest, failsWithTheDecodersErrorAndTheText) {
  const auto result = response<User>(R"({"id":7})");

  const auto* const error = failure<HTTPResponseError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPResponseError::Case::jsonDecoding);
  EXPECT_THAT(error->message(), HasSubstr("User with json:\n{\"id\":7}"));
  const auto* const cause = error->underlyingError()->as<DecodingError>();
  ASSERT_TRUE(cause);
  EXPECT_EQ(cause->which(), DecodingError::Case::keyNotFound);
  EXPECT_EQ(cause->key(), "login");
  EXPECT_EQ(result.status, HTTPStatus::success);
  EXPECT_EQ(result.data, Data(R"({"id":7})"));
  EXPECT_TRUE(result.headers);
}

TEST(JSONResponseTest, logsWhatDidNotDecode) {
  corvane::testkit::LogCapture log;

  response<User>(R"({"id":7})");

  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.level, vantorel::LogLevel::debug);
  EXPECT_EQ(record.message, "Error decoding json of type " + platform::typeName<User>() + " with json: \n {\"id\":7}");
  EXPECT_EQ(record.function, "init(data:url:response:error:)");
  EXPECT_THAT(record.file, HasSubstr("JSONResponse"));
  EXPECT_EQ(record.line, 73);
}

TEST(JSONResponseTest, logsTheBeginningOfALongDocument) {
  corvane::testkit::LogCapture log;

  response<User>("[\"" + std::string(100'000, 'x') + "\"]");

  ASSERT_EQ(log->records().size(), 1u);
  EXPECT_LT(log->records().front().message.size(), 5'000u);
  EXPECT_THAT(log->records().front().message, ::testing::EndsWith("… (100004 bytes in all)"));
}

TEST(JSONResponseTest, logsNothingForDevelopersUnlessTheyAsk) {
  ASSERT_TRUE(vantorel::isLogSinkDefault());
  ::testing::internal::CaptureStderr();

  response<User>(R"({"id":7})");

  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(JSONResponseTest, carriesAnErrorOfTheModelsOwn) {
  corvane::testkit::LogCapture log;

  const auto result = response<Even>("3");

  const auto* const error = failure<HTTPUnknownError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPUnknownError::Case::unableToParseJSON);
  EXPECT_EQ(error->json(), "3");
  EXPECT_EQ(error->function(), "init(data:url:response:error:)");
  EXPECT_EQ(error->line(), 78);
  ASSERT_TRUE(error->originalError()->is<OddNumber>());
  EXPECT_EQ(error->originalError()->as<OddNumber>()->number, 3);
  ASSERT_EQ(log->records().size(), 1u);
  EXPECT_EQ(log->records().front().message,
            "Unknown error decoding json of type " + platform::typeName<Even>() + " with json: \n 3");
  EXPECT_EQ(log->records().front().line, 77);
}

TEST(JSONResponseTest, showsNoTextThatIsNotUTF8) {
  const auto result = response<User>("\xFF");

  const auto* const error = failure<HTTPResponseError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->json(), "");
}

TEST(JSONResponseTest, doesNotDecodeTheBodyOfAnUnacceptableStatus) {
  corvane::testkit::LogCapture log;

  const auto result = response<User>("not json", httpResponse(404));

  const auto* const error = failure<HTTPResponseError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->status(), HTTPStatus::notFound);
  EXPECT_EQ(result.status, HTTPStatus::notFound);
  EXPECT_EQ(result.data, Data("not json"));
  EXPECT_TRUE(log->records().empty());
}

TEST(JSONResponseTest, takesACodeWithoutANameForUnknown) {
  const auto result = response<User>("{}", httpResponse(299));

  EXPECT_EQ(failure<HTTPResponseError>(result)->status(), HTTPStatus::unknown);
}

TEST(JSONResponseTest, isTheFailureOfTheTransport) {
  corvane::testkit::LogCapture log;

  const auto result = response<User>(R"({"id":7,"login":"ada"})", httpResponse(200), Error("domain", 7, "lost"));

  EXPECT_EQ(result.result.body(), nullptr);
  EXPECT_EQ(result.result.error()->domain(), "domain");
  EXPECT_EQ(result.status, HTTPStatus::success);
  EXPECT_TRUE(log->records().empty());
}

TEST(JSONResponseTest, failsToConstructWithoutAResponse) {
  const auto result = response<User>(R"({"id":7})", nullptr);

  const auto* const error = failure<HTTPUnknownError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPUnknownError::Case::jsonResponseFailedToConstruct);
  EXPECT_EQ(error->json(), R"({"id":7})");
  EXPECT_EQ(error->line(), 70);
  EXPECT_EQ(result.data, Data(R"({"id":7})"));
}

TEST(JSONResponseTest, failsToConstructWithoutBytes) {
  const auto result = response<EmptyJSON>(std::nullopt, httpResponse(204));

  const auto* const error = failure<HTTPUnknownError>(result);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->which(), HTTPUnknownError::Case::jsonResponseFailedToConstruct);
  EXPECT_EQ(result.status, HTTPStatus::noContent);
}

TEST(JSONResponseTest, decodesBytesThatAreThereEvenIfNone) {
  const auto result = response<EmptyJSON>(Data(), httpResponse(200));

  EXPECT_EQ(failure<HTTPResponseError>(result)->which(), HTTPResponseError::Case::jsonDecoding);
}

TEST(JSONResponseTest, usesTheDecoderThatTheBodyNames) {
  const auto result = response<Snake>(R"({"first_name":"Ada"})");

  ASSERT_TRUE(result.result.body());
  EXPECT_EQ(result.result.body()->firstName, "Ada");
}

TEST(JSONResponseTest, takesAKnownResultAndTheFactsOfAnotherResponse) {
  const auto first = response<User>(R"({"id":7,"login":"ada"})", httpResponse(206));

  const JSONResponse<std::string> mapped(JSONResult<std::string>::success(first.result.body()->login), first);

  EXPECT_EQ(*mapped.result.body(), "ada");
  EXPECT_EQ(mapped.status, HTTPStatus::partialContent);
  EXPECT_EQ(mapped.data, first.data);
  EXPECT_EQ(mapped.urlResponse, first.urlResponse);
}

TEST(JSONResponseTest, takesAllFieldsAsTheyAre) {
  const JSONResponse<int> response(JSONResult<int>::success(7), {.data = Data("7"), .status = HTTPStatus::created});

  EXPECT_EQ(*response.result.body(), 7);
  EXPECT_EQ(response.status, HTTPStatus::created);
  EXPECT_EQ(response.data, Data("7"));
}

TEST(JSONResponseTest, isLongToMakeFromManyBytesOnly) {
  EXPECT_FALSE(JSONResponse<User>::isLongToMake(std::nullopt));
  EXPECT_FALSE(JSONResponse<User>::isLongToMake(Data("{}")));
  EXPECT_TRUE(JSONResponse<User>::isLongToMake(Data(std::string(1'000'000, ' '))));
}

}  // namespace
}  // namespace corvane
