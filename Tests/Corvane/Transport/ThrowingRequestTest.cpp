#include <functional>
#include <optional>
#include <stdexcept>

#include "CorvaneTesting/LogCapture.hpp"
#include "SendFixture.hpp"

// Whatever a request throws, wherever it is read, is the outcome of its send: the completion gets it, once.

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::LogCapture;
using corvane::testkit::MockResponse;

[[noreturn]] void oops() { throw std::runtime_error("oops"); }

std::string problemOf(const DataResponse& response) {
  return response.result.error() ? response.result.error()->message() : "";
}

struct Uncopyable {
  Uncopyable() = default;
  Uncopyable(const Uncopyable&) { oops(); }
  Uncopyable& operator=(const Uncopyable&) = delete;
};

struct CopiedInVain : DataGetRequestable<CopiedInVain>, HTTPRetryAttempting<CopiedInVain> {
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 1;
  Uncopyable member;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct MockCopiedInVain : DataGetRequestable<MockCopiedInVain>, HTTPMockable<MockCopiedInVain> {
  Uncopyable member;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct DownloadCopiedInVain : DownloadRequestable<DownloadCopiedInVain> {
  Uncopyable member;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Unidentified : DataGetRequestable<Unidentified>, HTTPRequestCancelable<Unidentified> {
  URL url;
  UUID uuid() const { oops(); }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Undescribed : DataGetRequestable<Undescribed> {
  URL url;
  std::string curlCommand() const { oops(); }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Untimed : DataGetRequestable<Untimed>, HTTPMockable<Untimed> {
  double mockResponseTime() const { oops(); }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Impatient : DataGetRequestable<Impatient>, HTTPMockable<Impatient> {
  bool throws = false;
  double timeoutInterval() const { return throws ? (oops(), 0.0) : 60.0; }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct Unsent : DataGetRequestable<Unsent>, HTTPRetryAttempting<Unsent> {
  using DataGetRequestable::send;
  static constexpr double retryInterval = 0;
  static constexpr std::int64_t retryLimit = 1;
  HTTPHeaders sharedHeaders() const { return {}; }
  void send(std::optional<DispatchQueue>, Completion) const { oops(); }
};
struct Unlimited : DataGetRequestable<Unlimited>, HTTPMockable<Unlimited>, HTTPRetryAttempting<Unlimited> {
  static constexpr double retryInterval = 0;
  std::int64_t retryLimit() const { oops(); }
  HTTPHeaders sharedHeaders() const { return {}; }
};

class ThrowingRequestTest : public SendTest {
 protected:
  ~ThrowingRequestTest() override { Corvane::verbosity = HTTPVerbosityLevel::none; }

  template <class Request>
  HTTPRetryResult<DataResponse> retryOf(const Request& request) const {
    return testkit::await<HTTPRetryResult<DataResponse>>([&](auto done) { request.sendAttemptingRetry(queue, done); });
  }
};

TEST_F(ThrowingRequestTest, fromItsCopyConstructorIsAnOutcome) {
  EXPECT_EQ(problemOf(responseTo(CopiedInVain())), "oops");
  EXPECT_EQ(problemOf(responseTo(MockCopiedInVain())), "oops");
  EXPECT_EQ(problemOf(*retryOf(CopiedInVain()).lastResponse()), "oops");
  EXPECT_THROW(CopiedInVain().send().get(), std::exception);
  const auto download =
      testkit::await<DownloadResponse<URL>>([&](auto done) { DownloadCopiedInVain().send(queue, nullptr, done); });
  ASSERT_TRUE(download.result.error());
  EXPECT_EQ(download.result.error()->message(), "oops");
}

TEST_F(ThrowingRequestTest, fromItsIdentifierIsAnOutcome) {
  EXPECT_EQ(problemOf(responseTo(Unidentified{.url = server.url("/")})), "oops");
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(ThrowingRequestTest, fromItsDescriptionIsReportedAndNoOutcome) {
  const LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::verbose;
  server.enqueue(MockResponse(200).body("x"));

  const DataResponse response = responseTo(Undescribed{.url = server.url("/")});

  EXPECT_TRUE(response.result.isSuccess()) << problemOf(response);
  EXPECT_THAT(log.messages(), ::testing::Contains("Debug output could not be made: oops"));
}

TEST_F(ThrowingRequestTest, fromTheResponseTimeOfAMockIsAnOutcome) {
  EXPECT_EQ(problemOf(responseTo(Untimed())), "oops");
}

TEST_F(ThrowingRequestTest, fromTheTimeOutInASerialBatchIsTheOutcomeOfThatRequest) {
  Expectation<std::vector<DataResponse>> done;

  send({Impatient{.throws = false}, Impatient{.throws = true}, Impatient{.throws = false}}, queue, false, {}, done);

  const auto responses = done.wait();
  ASSERT_EQ(responses.size(), 3U);
  EXPECT_EQ(problemOf(responses[0]), "");
  EXPECT_EQ(problemOf(responses[1]), "oops");
  EXPECT_EQ(problemOf(responses[2]), "");
}

TEST_F(ThrowingRequestTest, fromASendOfItsOwnIsAnOutcomeOfBatches) {
  for (const bool isParallel : {false, true}) {
    Expectation<std::vector<DataResponse>> done;

    send(std::vector<Unsent>(2), queue, isParallel, {}, done);

    const auto responses = done.wait();
    ASSERT_EQ(responses.size(), 2U);
    EXPECT_EQ(problemOf(responses.front()), "oops");
  }
}

TEST_F(ThrowingRequestTest, fromASendOfItsOwnEndsItsAttempts) {
  const auto result = retryOf(Unsent());

  EXPECT_EQ(result.which(), HTTPRetryResult<DataResponse>::Case::noFailure);
  EXPECT_EQ(problemOf(*result.lastResponse()), "oops");
}

TEST_F(ThrowingRequestTest, fromTheLimitOfItsAttemptsEndsThem) {
  EXPECT_EQ(problemOf(*retryOf(Unlimited()).lastResponse()), "oops");
}

}  // namespace
}  // namespace corvane
