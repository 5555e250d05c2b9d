#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "RetryFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::Le;
namespace URLErrorCode = platform::URLErrorCode;

constexpr std::array transientCodes{URLErrorCode::timedOut,
                                    URLErrorCode::cannotFindHost,
                                    URLErrorCode::cannotConnectToHost,
                                    URLErrorCode::networkConnectionLost,
                                    URLErrorCode::dnsLookupFailed,
                                    URLErrorCode::notConnectedToInternet,
                                    URLErrorCode::httpProxyConnectionFailure,
                                    URLErrorCode::httpsProxyConnectionFailure};
constexpr std::array lastingCodes{URLErrorCode::cancelled,
                                  URLErrorCode::unknown,
                                  URLErrorCode::badURL,
                                  URLErrorCode::unsupportedURL,
                                  URLErrorCode::httpTooManyRedirects,
                                  URLErrorCode::resourceUnavailable,
                                  URLErrorCode::badServerResponse,
                                  URLErrorCode::cannotParseResponse,
                                  URLErrorCode::cannotDecodeContentData,
                                  URLErrorCode::dataLengthExceedsMaximum,
                                  URLErrorCode::secureConnectionFailed,
                                  URLErrorCode::serverCertificateUntrusted,
                                  URLErrorCode::serverCertificateHasBadDate,
                                  URLErrorCode::fileDoesNotExist,
                                  URLErrorCode::cannotWriteToFile,
                                  URLErrorCode::cannotLoadFromNetwork,
                                  URLErrorCode::httpBadProxyCredentials,
                                  URLErrorCode::httpsProxyUnexpectedResponse,
                                  URLErrorCode::socks5BadState,
                                  URLErrorCode::socks5BadCredentials};

bool isTransientCode(std::int32_t code) { return isTransient(CFNetworkErrors(code), nullptr); }

TEST(RetryPolicyTest, takesErrorsOfTheNetworkForTransient) {
  for (const auto code : transientCodes) {
    SCOPED_TRACE(code);
    EXPECT_TRUE(isTransientCode(code));
    EXPECT_TRUE(isTransient(Error(platform::kCFErrorDomainCFNetwork, code, "x"), nullptr));
    EXPECT_TRUE(isTransient(Error(platform::NSURLErrorDomain, code, "x"), nullptr));
    EXPECT_FALSE(isTransient(Error("D", code, "x"), nullptr));
  }
}

TEST(RetryPolicyTest, takesOtherErrorsForLasting) {
  for (const auto code : lastingCodes) {
    SCOPED_TRACE(code);
    EXPECT_FALSE(isTransientCode(code));
  }
  EXPECT_FALSE(isTransient(HTTPResponseError::taskCancelled(), nullptr));
  EXPECT_FALSE(isTransient(HTTPNetworkForbiddenError("GET", "http://example.com/"), nullptr));
}

DataResponse responseOf(int status) {
  return {std::nullopt, std::nullopt,
          std::make_shared<HTTPURLResponse>("http://example.com/", status, "1.1", HTTPHeaderFields()), std::nullopt};
}

TEST(RetryPolicyTest, takesSomeStatusesForTransient) {
  for (const int status : {408, 429, 502, 503, 504}) EXPECT_TRUE(isTransient(responseOf(status))) << status;
  for (const int status : {304, 400, 401, 403, 404, 409, 425, 428, 500, 501, 505, 507, 511, 599})
    EXPECT_FALSE(isTransient(responseOf(status))) << status;
}

TEST(RetryPolicyTest, takesNoSuccessForTransient) {
  for (const int status : {200, 201, 204, 206}) EXPECT_FALSE(isTransient(responseOf(status))) << status;
}

TEST(RetryPolicyTest, knowsTheSafeMethods) {
  for (const auto* method : {"GET", "HEAD", "OPTIONS", "TRACE"}) EXPECT_TRUE(detail::isSafeMethod(method)) << method;
  for (const auto* method : {"POST", "PUT", "PATCH", "DELETE", "CONNECT", "get", ""})
    EXPECT_FALSE(detail::isSafeMethod(method)) << method;
}

TEST(RetryPolicyTest, isThePlainRuleWithoutFurtherWords) {
  const HTTPRetryPolicy policy;

  EXPECT_EQ(policy.failures, HTTPRetryPolicy::Failures::all);
  EXPECT_FALSE(policy.retriesUnsafeMethods);
  EXPECT_FALSE(policy.isCancelable);
  EXPECT_EQ(detail::wait(policy, 4, HTTPHeaderFields{{"Retry-After", "60"}}), 4);
  EXPECT_EQ(detail::wait(policy, 0, std::nullopt), 0);
}

TEST(RetryPolicyTest, leavesAPartOfTheWaitToChance) {
  double shortest = 4;
  double longest = 0;
  for (int i = 0; i < 1000; ++i) {
    const double seconds = detail::wait({.jitter = 0.5}, 4, std::nullopt);
    ASSERT_THAT(seconds, AllOf(Gt(2), Le(4)));
    shortest = std::min(shortest, seconds);
    longest = std::max(longest, seconds);
  }

  // Half of all waits are on each side of the middle.
  EXPECT_LT(shortest, 3);
  EXPECT_GT(longest, 3);
}

TEST(RetryPolicyTest, leavesAtMostTheWholeWaitToChance) {
  for (int i = 0; i < 1000; ++i) {
    EXPECT_THAT(detail::wait({.jitter = 1}, 4, std::nullopt), AllOf(Gt(0), Le(4)));
    EXPECT_THAT(detail::wait({.jitter = 7}, 4, std::nullopt), AllOf(Gt(0), Le(4)));
    EXPECT_EQ(detail::wait({.jitter = -1}, 4, std::nullopt), 4);
  }
}

TEST(RetryPolicyTest, cutsTheWait) {
  EXPECT_EQ(detail::wait({.longestWait = 3}, 4, std::nullopt), 3);
  EXPECT_EQ(detail::wait({.longestWait = 3}, 2, std::nullopt), 2);
  EXPECT_EQ(detail::wait({.longestWait = std::chrono::milliseconds(500)}, 2, std::nullopt), 0.5);
}

std::optional<double> retryAfter(const char* value, const char* date = "Sun, 06 Nov 1994 08:49:37 GMT") {
  return detail::retryAfter(HTTPHeaderFields{{"Date", date}, {"Retry-After", value}});
}

TEST(RetryPolicyTest, readsSecondsToRetryAfter) {
  EXPECT_EQ(retryAfter("0"), 0);
  EXPECT_EQ(retryAfter("120"), 120);
  EXPECT_EQ(detail::retryAfter(HTTPHeaderFields{{"retry-after", "7"}}), 7);
}

TEST(RetryPolicyTest, readsADateToRetryAfterBesideThatOfTheResponse) {
  EXPECT_EQ(retryAfter("Sun, 06 Nov 1994 08:51:37 GMT"), 120);
  EXPECT_EQ(retryAfter("Sunday, 06-Nov-94 08:51:37 GMT"), 120);
  EXPECT_EQ(retryAfter("Sun Nov  6 08:51:37 1994"), 120);
  EXPECT_EQ(retryAfter("Sun, 06 Nov 1994 08:49:37 GMT"), 0);
}

TEST(RetryPolicyTest, takesADateThatHasPassedForNow) { EXPECT_EQ(retryAfter("Sun, 06 Nov 1994 08:00:00 GMT"), 0); }

std::string httpDate(std::time_t moment) {
  std::tm parts{};
  ::gmtime_r(&moment, &parts);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &parts)};
}

TEST(RetryPolicyTest, readsADateByTheSystemsClockWhenTheResponseHasNone) {
  const std::string soon = httpDate(std::time(nullptr) + 1000);

  EXPECT_THAT(detail::retryAfter(HTTPHeaderFields{{"Retry-After", soon}}).value_or(-1), AllOf(Gt(900), Le(1000)));
  EXPECT_THAT(retryAfter(soon.c_str(), "yesterday").value_or(-1), AllOf(Gt(900), Le(1000)));
}

TEST(RetryPolicyTest, ignoresWhatIsNoTimeToRetryAfter) {
  for (const auto* value : {"", " ", "soon", "-1", "+1", "1.5", "1 s", "0x10", "12,13", "Sun, 06 Nov 1994",
                            "Sun, 31 Feb 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37"})
    EXPECT_EQ(retryAfter(value), std::nullopt) << value;
  EXPECT_EQ(detail::retryAfter(HTTPHeaderFields()), std::nullopt);
  EXPECT_EQ(detail::retryAfter(std::nullopt), std::nullopt);
}

TEST(RetryPolicyTest, bearsAnyNumberOfSecondsToRetryAfter) {
  const HTTPHeaderFields endless{{"Retry-After", "99999999999999999999999999"}};

  EXPECT_GT(detail::retryAfter(endless).value_or(0), 1e18);
  EXPECT_EQ(detail::wait({.longestWait = 30, .honorsRetryAfter = true}, 2, endless), 30);
}

TEST(RetryPolicyTest, waitsAsLongAsItIsTold) {
  const HTTPRetryPolicy policy{.honorsRetryAfter = true};

  EXPECT_EQ(detail::wait(policy, 2, HTTPHeaderFields{{"Retry-After", "60"}}), 60);
  EXPECT_EQ(detail::wait(policy, 2, HTTPHeaderFields{{"Retry-After", "1"}}), 2);
  EXPECT_EQ(detail::wait(policy, 2, HTTPHeaderFields{{"Retry-After", "soon"}}), 2);
  EXPECT_EQ(detail::wait(policy, 2, std::nullopt), 2);
}

TEST(RetryPolicyTest, isNoSoonerThanItIsToldThoughAPartIsLeftToChance) {
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(detail::wait({.jitter = 1, .honorsRetryAfter = true}, 2, HTTPHeaderFields{{"Retry-After", "3"}}), 3);
}

TEST(RetryPolicyTest, cutsTheWaitBeforeAPartIsLeftToChance) {
  EXPECT_EQ(detail::wait({.jitter = 1, .longestWait = 8}, 1024, std::nullopt, 0.5), 4);
  EXPECT_EQ(detail::wait({.jitter = 0.5, .longestWait = 8}, 1024, std::nullopt, 0.5), 6);
}

TEST(BackOffTest, growsByItsFactor) {
  const HTTPBackOff doubling;
  const HTTPBackOff slow{.firstWait = std::chrono::milliseconds(100), .factor = 1.5};

  EXPECT_EQ(doubling.wait(0), 1);
  EXPECT_EQ(doubling.wait(1), 2);
  EXPECT_EQ(doubling.wait(10), 1024);
  EXPECT_DOUBLE_EQ(slow.wait(2).count(), 0.225);
}

TEST(BackOffTest, bearsAnyNumberOfFailures) {
  EXPECT_EQ(HTTPBackOff().wait((std::numeric_limits<std::int64_t>::max)()), platform::Seconds::unlimited());
  EXPECT_EQ(detail::wait(HTTPRetryPolicy::exponential(), platform::Seconds::unlimited().count(), std::nullopt, 0), 60);
}

TEST(BackOffTest, doesNotWaitWithoutAFirstWait) {
  EXPECT_EQ(HTTPBackOff{.firstWait = 0}.wait(0), 0);
  EXPECT_EQ(HTTPBackOff{.firstWait = 0}.wait((std::numeric_limits<std::int64_t>::max)()), 0);
}

TEST(BackOffDeathTest, trapsForAWaitThatIsNone) {
  EXPECT_DEATH(HTTPBackOff{.firstWait = -1}.wait(0), "The wait of a back-off");
  EXPECT_DEATH(HTTPBackOff{.factor = std::nan("")}.wait(1), "The wait of a back-off");
}

TEST(BackOffTest, isAReadyPolicy) {
  constexpr HTTPRetryPolicy policy = HTTPRetryPolicy::exponential(0.5, 10);

  EXPECT_EQ(policy.failures, HTTPRetryPolicy::Failures::transient);
  EXPECT_EQ(policy.backOff->wait(2), 2);
  EXPECT_EQ(detail::wait(policy, 4, std::nullopt, 0), 4);
  EXPECT_EQ(detail::wait(policy, 4, std::nullopt, 0.75), 1);
  EXPECT_EQ(detail::wait(policy, 4, HTTPHeaderFields{{"Retry-After", "7"}}, 0.75), 7);
  EXPECT_EQ(detail::wait(policy, 4, HTTPHeaderFields{{"Retry-After", "70"}}, 0.75), 10);
}

// End to end.

TEST_F(RetryTest, retriesWhatMayBeOtherwiseTheNextTime) {
  for (const int status : {408, 429, 502, 503}) failWith(std::to_string(status), status);
  succeedWith("done");
  Try request = attempt(9);
  request.retryPolicy.failures = HTTPRetryPolicy::Failures::transient;

  EXPECT_EQ(summary(resultOf(request, 4)), "partialFailure done after 408 429 502 503");
}

TEST_F(RetryTest, endsWithAFailureThatLasts) {
  failWith("503", 503);
  failWith("404", 404);
  Try request = attempt(9);
  request.retryPolicy.failures = HTTPRetryPolicy::Failures::transient;

  EXPECT_EQ(summary(resultOf(request, 1)), "totalFailure after 503 404");
  EXPECT_THAT(waits(), ElementsAre(2));
}

struct TryPosting : DataPostRequestable<TryPosting>, HTTPRetryAttempting<TryPosting> {
  URL url;
  HTTPRetryPolicy retryPolicy;
  Data body = "x";
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, doesNotRepeatAnUnsafeMethodForATransientFailure) {
  failWith("503", 503);
  const TryPosting request{.url = server.url("/"), .retryPolicy = {.failures = HTTPRetryPolicy::Failures::transient}};

  EXPECT_EQ(summary(resultOf(request, 0)), "totalFailure after 503");
}

TEST_F(RetryTest, repeatsAnUnsafeMethodWhenTheTypeSaysSo) {
  failWith("503", 503);
  succeedWith("done");
  const TryPosting request{
      .url = server.url("/"),
      .retryPolicy = {.failures = HTTPRetryPolicy::Failures::transient, .retriesUnsafeMethods = true}};

  EXPECT_EQ(summary(resultOf(request, 1)), "partialFailure done after 503");
}

TEST_F(RetryTest, repeatsAnUnsafeMethodByThePlainRule) {
  failWith("404", 404);
  succeedWith("done");

  EXPECT_EQ(summary(resultOf(TryPosting{.url = server.url("/"), .retryPolicy = {}}, 1)),
            "partialFailure done after 404");
}

/// Retries what the server says is to be retried.
struct ChoosyTry : DataGetRequestable<ChoosyTry>, HTTPRetryAttempting<ChoosyTry> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  bool shouldRetry(const DataResponse& response) const { return response.data && response.data->text() == "again"; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, retriesWhatTheTypeChooses) {
  failWith("again", 400);
  failWith("enough", 503);

  EXPECT_EQ(summary(resultOf(ChoosyTry{.url = server.url("/")}, 1)), "totalFailure after again enough");
}

TEST_F(RetryTest, asksTheTypeForNoSuccess) {
  succeedWith("a0");

  EXPECT_EQ(summary(resultOf(ChoosyTry{.url = server.url("/")}, 0)), "noFailure a0");
}

struct AskedTry : DataGetRequestable<AskedTry>, HTTPRetryAttempting<AskedTry> {
  URL url;
  std::vector<std::string>* asked;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  static HTTPRetryPolicy retryPolicy() { return {.failures = HTTPRetryPolicy::Failures::transient}; }
  bool shouldRetry(const DataResponse& response) const {
    asked->push_back(response.data->text());
    return true;
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, asksTheTypeOnlyForWhatThePolicyWouldRetry) {
  failWith("busy", 503);
  failWith("not here", 404);
  std::vector<std::string> asked;

  const auto result = resultOf(AskedTry{.url = server.url("/"), .asked = &asked}, 1);

  EXPECT_EQ(summary(result), "totalFailure after busy not here");
  EXPECT_EQ(asked, std::vector<std::string>{"busy"});
}

TEST_F(RetryTest, waitsAsTheServerSays) {
  server.enqueue(MockResponse(429).header("Retry-After", "17"));
  server.enqueue(MockResponse(503).header("Retry-After", "99"));
  server.enqueue(MockResponse(503).header("Retry-After", "1"));
  succeedWith("done");
  Try request = attempt(9);
  request.retryPolicy = {.longestWait = 30, .honorsRetryAfter = true};

  EXPECT_EQ(resultOf(request, 3).failCount(), 3);
  EXPECT_THAT(waits(), ElementsAre(17, 30, 4));
}

/// Has no interval: the policy has the waits.
struct BackingOff : DataGetRequestable<BackingOff>, HTTPRetryAttempting<BackingOff> {
  URL url;
  static constexpr int retryLimit = 9;
  static constexpr HTTPRetryPolicy retryPolicy = [] {
    auto policy = HTTPRetryPolicy::exponential(3, 20);
    policy.jitter = 0;
    return policy;
  }();
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, backsOffExponentially) {
  for (int i = 0; i < 5; ++i) failWith("busy", 503);
  succeedWith("done");

  EXPECT_EQ(summary(resultOf(BackingOff{.url = server.url("/")}, 5)),
            "partialFailure done after busy busy busy busy busy");
  EXPECT_THAT(waits(), ElementsAre(3, 6, 12, 20, 20));
}

TEST_F(RetryTest, backsOffInPlaceOfItsInterval) {
  failWith("busy", 503);
  failWith("busy", 503);
  succeedWith("done");
  Try request = attempt();
  request.retryPolicy.backOff = HTTPBackOff{.firstWait = 7};

  resultOf(request, 2);

  EXPECT_THAT(waits(), ElementsAre(7, 14));
}

TEST_F(RetryTest, backsOffForTransientFailuresOnly) {
  failWith("not here", 404);

  EXPECT_EQ(summary(resultOf(BackingOff{.url = server.url("/")}, 0)), "totalFailure after not here");
}

/// Has a policy without waits, and no interval.
struct Plain : DataGetRequestable<Plain>, HTTPRetryAttempting<Plain> {
  URL url;
  static constexpr int retryLimit = 9;
  static HTTPRetryPolicy retryPolicy() { return {.failures = HTTPRetryPolicy::Failures::transient}; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, waitsASecondByAPolicyThatDoesNotSay) {
  failWith("busy", 503);
  failWith("busy", 503);
  succeedWith("done");

  resultOf(Plain{.url = server.url("/")}, 2);

  EXPECT_THAT(waits(), ElementsAre(1, 2));
}

TEST_F(RetryTest, doesNotHearTheServerWithoutAPolicy) {
  server.enqueue(MockResponse(429).header("Retry-After", "17"));
  succeedWith("done");

  resultOf(attempt(), 1);

  EXPECT_THAT(waits(), ElementsAre(2));
}

TEST_F(RetryTest, leavesAPartOfEachWaitToChance) {
  for (int i = 0; i < 4; ++i) failWith("x");
  Try request = attempt(2);
  request.retryPolicy.jitter = 0.25;

  resultOf(request, 3);

  EXPECT_THAT(waits(), ElementsAre(AllOf(Ge(1.5), Le(2)), AllOf(Ge(2.25), Le(3)), AllOf(Ge(3), Le(4))));
}

}  // namespace
}  // namespace corvane
