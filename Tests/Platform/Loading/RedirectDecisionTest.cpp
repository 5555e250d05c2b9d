#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "TransferTest.hpp"
#include "UploadStreams.hpp"

/// What is sent where the application decides about a redirect.
namespace platform {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;

class RedirectDecisionTest : public TransferTest {
 protected:
  RedirectDecisionTest() {
    for (const int status : {303, 307}) {
      server.handle("/" + std::to_string(status),
                    [=](const ReceivedRequest&) { return MockResponse(status).header("Location", "/new"); });
    }
    server.handle("/new", [](const ReceivedRequest& request) {
      return MockResponse().body(request.method + " " + request.body);
    });
  }

  void decide(RedirectDecider decider) {
    URLSessionConfiguration configuration;
    configuration.redirects.decide = std::move(decider);
    session = makeSession(std::move(configuration));
  }
  /// The decider changes what is proposed.
  void change(std::function<void(URLRequest&)> change) {
    decide([change = std::move(change)](const HTTPURLResponse&, URLRequest proposed) {
      change(proposed);
      return std::optional(std::move(proposed));
    });
  }
  URLRequest put(std::string_view target) { return request(server.url(target), "PUT"); }
};

TEST_F(RedirectDecisionTest, sendsTheFileOfAnUploadAsProposed) {
  change([](URLRequest&) {});
  URLRequest withLength = put("/307");
  withLength.allHTTPHeaderFields.set("Content-Length", "7");

  EXPECT_EQ(upload(put("/307"), file("body", "content")).body(), "PUT content");
  const Loaded loaded = upload(withLength, file("body", "content"));
  EXPECT_EQ(loaded.body(), "PUT content") << loaded.message();
  EXPECT_EQ(upload(put("/303"), file("body", "content")).body(), "GET ");
}

TEST_F(RedirectDecisionTest, sendsNoFileWhereTheMethodIsChanged) {
  change([](URLRequest& proposed) { proposed.httpMethod = "GET"; });
  EXPECT_EQ(upload(put("/307"), file("body", "content")).body(), "GET ");

  change([](URLRequest& proposed) { proposed.httpMethod = "PUT"; });
  EXPECT_EQ(upload(put("/303"), file("body", "content")).body(), "PUT ");
}

TEST_F(RedirectDecisionTest, sendsBytesInPlaceOfAFile) {
  change([](URLRequest& proposed) { proposed.httpBody = Data("other"); });

  EXPECT_EQ(upload(put("/307"), file("body", "content")).body(), "PUT other");
}

TEST_F(RedirectDecisionTest, sendsItsStreamAgainAndNoOther) {
  URLRequest made = put("/307");
  made.httpBodyStream = MadeBody::of({"con", "tent"});
  change([](URLRequest&) {});
  EXPECT_EQ(load(made).body(), "PUT content");

  change([](URLRequest& proposed) { proposed.httpBodyStream = MadeBody::of({"other"}); });
  const int before = server.requestCount();
  EXPECT_EQ(load(made).code(), URLErrorCode::badURL);
  EXPECT_EQ(load(put("/307")).code(), URLErrorCode::badURL);
  EXPECT_EQ(server.requestCount(), before + 2);
}

TEST_F(RedirectDecisionTest, tellsThatTheRequestWasSentWhereItIsCancelled) {
  const Expectation<void> asked;
  const DispatchSemaphore decided(0);
  decide([=](const HTTPURLResponse&, URLRequest proposed) {
    asked();
    decided.wait();
    return std::optional(std::move(proposed));
  });
  Load pending(session, request(server.url("/307"), "POST", Data("x")));
  pending.resume();
  asked.wait();

  pending.cancel();
  const Loaded loaded = pending.wait();
  decided.signal();

  EXPECT_EQ(loaded.code(), URLErrorCode::cancelled);
  ASSERT_TRUE(loaded.error);
  const Dictionary userInfo = loaded.error->userInfo();
  ASSERT_TRUE(userInfo.contains(URLErrorKey::requestWasSent));
  EXPECT_EQ(userInfo.find(URLErrorKey::requestWasSent)->boolean(), true);
}

}  // namespace
}  // namespace platform
