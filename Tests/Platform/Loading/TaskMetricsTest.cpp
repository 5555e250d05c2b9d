#include "Platform/Metrics/TaskMetrics.hpp"

#include <gmock/gmock.h>

#include <chrono>

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "Platform/Security/SecCertificate.hpp"
#include "SessionTest.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/NetworkTime.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using corvane::testkit::HeldLookUps;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::NetworkTime;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;
using testing::StartsWith;
using Cause = TransactionMetrics::Cause;

class TaskMetricsTest : public SessionTest {
 protected:
  /// Of a task that is over when this returns.
  std::shared_ptr<const TaskMetrics> metricsOf(URLRequest request) {
    Load loading(session, std::move(request));
    loading.resume().wait();
    return loading.task().metrics();
  }
  std::shared_ptr<const TaskMetrics> metricsOf(const std::string& url) { return metricsOf(URLRequest(URL(url))); }
  std::shared_ptr<const TaskMetrics> metricsOf(MockResponse scripted) {
    server.enqueue(std::move(scripted));
    return metricsOf(server.url());
  }
};

/// Phases come one after the other, within their transaction, and transactions within their task.
void expectOrder(const TaskMetrics& metrics) {
  std::chrono::nanoseconds last{};
  const auto expectNext = [&last](const std::optional<MetricsInterval>& phase) {
    if (!phase) return;
    EXPECT_LE(last, phase->start);
    EXPECT_LE(phase->start, phase->end);
    last = phase->start;
  };
  for (const TransactionMetrics& transaction : metrics.transactions) {
    expectNext(transaction.time);
    for (const auto& phase :
         {transaction.nameLookUp, transaction.connect, transaction.secure, transaction.request, transaction.response}) {
      expectNext(phase);
      EXPECT_LE(phase.value_or(transaction.time).end, transaction.time.end);
    }
    EXPECT_LE(transaction.time.end, metrics.duration);
  }
}

TEST_F(TaskMetricsTest, tellOfANewConnection) {
  const auto before = std::chrono::system_clock::now();
  const auto metrics = metricsOf(MockResponse::raw("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"));

  ASSERT_TRUE(metrics);
  EXPECT_GE(metrics->start, before);
  EXPECT_EQ(metrics->redirectCount, 0);
  ASSERT_EQ(metrics->transactions.size(), 1U);
  const TransactionMetrics& only = metrics->transactions[0];
  EXPECT_EQ(only.cause, Cause::request);
  EXPECT_EQ(only.url, URL(server.url()));
  EXPECT_EQ(only.method, "GET");
  EXPECT_EQ(only.statusCode, 200);
  EXPECT_FALSE(only.nameLookUp);
  EXPECT_TRUE(only.connect);
  EXPECT_FALSE(only.secure);
  EXPECT_TRUE(only.request);
  EXPECT_TRUE(only.response);
  EXPECT_FALSE(only.isConnectionReused);
  expectOrder(*metrics);
}

TEST_F(TaskMetricsTest, tellOfTheEndsOfAConnection) {
  const auto metrics = metricsOf(MockResponse(200));

  const ConnectionMetrics& connection = *metrics->transactions.at(0).connection;
  EXPECT_EQ(connection.protocol, "http/1.1");
  EXPECT_EQ(connection.remoteAddress.text(), server.authority());
  EXPECT_EQ(connection.localAddress.host, "127.0.0.1");
  EXPECT_GT(connection.localAddress.port, 0);
  EXPECT_EQ(connection.tlsVersion, "");
}

TEST_F(TaskMetricsTest, countBytesAsTheyAreOnTheNetworkAndDecoded) {
  server.enqueue(MockResponse::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n"));
  server.enqueue(MockResponse(200).gzipBody(std::string(10'000, 'x')));

  const auto sent = metricsOf(request(server.url(), "POST", Data("twelve bytes")));
  const auto packed = metricsOf(server.url());

  const TransactionBytes& bytes = sent->transactions.at(0).bytes;
  EXPECT_GT(bytes.requestHead, std::string("POST / HTTP/1.1\r\n\r\n").size());
  EXPECT_EQ(bytes.requestBody, 12U);
  EXPECT_EQ(bytes.responseHead, 47U);
  EXPECT_EQ(bytes.responseBody, 5U);
  EXPECT_EQ(bytes.decodedBody, 5U);
  EXPECT_LT(packed->transactions.at(0).bytes.responseBody, 1'000U);
  EXPECT_EQ(packed->transactions.at(0).bytes.decodedBody, 10'000U);
}

TEST_F(TaskMetricsTest, tellOfAReusedConnection) {
  const auto first = metricsOf(MockResponse(200));
  const auto second = metricsOf(MockResponse(200));

  const TransactionMetrics& reused = second->transactions.at(0);
  EXPECT_TRUE(reused.isConnectionReused);
  EXPECT_FALSE(reused.connect);
  EXPECT_EQ(reused.connection, first->transactions.at(0).connection);
}

TEST_F(TaskMetricsTest, haveATransactionForEachRedirect) {
  server.enqueue(MockResponse(302).header("Location", "/there").body("moved"));
  const auto metrics = metricsOf(MockResponse(200).body("here"));

  EXPECT_EQ(metrics->redirectCount, 1);
  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_EQ(metrics->transactions[0].statusCode, 302);
  EXPECT_EQ(metrics->transactions[0].bytes.responseBody, 5U);
  EXPECT_EQ(metrics->transactions[0].bytes.decodedBody, 0U);
  EXPECT_EQ(metrics->transactions[1].statusCode, 200);
  EXPECT_EQ(metrics->transactions[1].cause, Cause::redirect);
  EXPECT_EQ(metrics->transactions[1].url, URL(server.url("/there")));
  expectOrder(*metrics);
}

TEST_F(TaskMetricsTest, haveATransactionForARequestThatWasRepeated) {
  metricsOf(MockResponse(200));
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  const auto metrics = metricsOf(MockResponse(200));

  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_TRUE(metrics->transactions[0].isConnectionReused);
  EXPECT_FALSE(metrics->transactions[0].statusCode);
  EXPECT_FALSE(metrics->transactions[0].response);
  EXPECT_EQ(metrics->transactions[1].cause, Cause::brokenConnection);
  EXPECT_FALSE(metrics->transactions[1].isConnectionReused);
  EXPECT_EQ(metrics->transactions[1].statusCode, 200);
  expectOrder(*metrics);
}

TEST_F(TaskMetricsTest, tellOfARefusedExpectation) {
  server.enqueue(MockResponse(417).beforeRequestBody());
  server.enqueue(MockResponse(200));
  URLRequest expecting = request(server.url(), "POST", Data("x"));
  expecting.allHTTPHeaderFields.set("Expect", "100-continue");

  const auto metrics = metricsOf(std::move(expecting));

  ASSERT_EQ(metrics->transactions.size(), 2U);
  EXPECT_EQ(metrics->transactions[1].cause, Cause::expectationRefused);
  EXPECT_EQ(metrics->redirectCount, 0);
}

TEST_F(TaskMetricsTest, tellHowFarAFailedConnectionCame) {
  const auto metrics = metricsOf(corvane::testkit::refusedUrl());

  const TransactionMetrics& only = metrics->transactions.at(0);
  ASSERT_TRUE(only.connect);
  EXPECT_EQ(only.connect->end, only.time.end);
  EXPECT_FALSE(only.connection);
  EXPECT_FALSE(only.request);
  EXPECT_FALSE(only.statusCode);
  expectOrder(*metrics);
}

TEST_F(TaskMetricsTest, tellOfANameThatIsLookedUp) {
  const HeldLookUps lookUps;
  const auto missing = metricsOf("http://" + std::string(HeldLookUps::missingName) + "/");
  server.enqueue(MockResponse(200));
  const auto found = metricsOf(server.url("/", HeldLookUps::localName));

  EXPECT_TRUE(missing->transactions.at(0).nameLookUp);
  EXPECT_FALSE(missing->transactions.at(0).connect);
  EXPECT_TRUE(found->transactions.at(0).connect);
  expectOrder(*found);
}

TEST_F(TaskMetricsTest, measureByAClockThatIsNeverSet) {
  NetworkTime time;
  const Latch latch;
  server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  Load loading(session, URLRequest(URL(server.url())));
  loading.resume();
  ASSERT_TRUE(server.waitForRequests(1));

  time.pass(2s);
  latch.open();
  loading.wait();

  const auto metrics = loading.task().metrics();
  EXPECT_EQ(metrics->duration, 2s);
  EXPECT_EQ(metrics->transactions.at(0).response->start, 2s);
  EXPECT_EQ(metrics->transactions.at(0).request->start, 0s);
}

TEST_F(TaskMetricsTest, endWhereATaskIsCancelled) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, URLRequest(URL(server.url())));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());
  EXPECT_FALSE(loading.task().metrics());

  loading.cancel();
  loading.wait();

  const auto metrics = loading.task().metrics();
  ASSERT_TRUE(metrics);
  EXPECT_TRUE(metrics->transactions.at(0).request);
  EXPECT_FALSE(metrics->transactions.at(0).response);
  expectOrder(*metrics);
}

TEST_F(TaskMetricsTest, areEmptyForATaskThatSendsNothing) {
  Load cancelled(session, URLRequest(URL(server.url())));
  cancelled.cancel();
  cancelled.wait();

  EXPECT_TRUE(cancelled.task().metrics()->transactions.empty());
  EXPECT_TRUE(metricsOf("ftp://127.0.0.1/")->transactions.empty());
}

TEST_F(TaskMetricsTest, leaveOutWhoTheUserIs) {
  server.enqueue(MockResponse(200));
  const auto metrics = metricsOf("http://ada:secret@" + server.authority() + "/a@b?c=d@e#f");

  EXPECT_EQ(metrics->transactions.at(0).url, URL(server.url("/a@b?c=d@e")));
}

class SecureTaskMetricsTest : public TaskMetricsTest {
 protected:
  SecureTaskMetricsTest() {
    URLSessionConfiguration configuration;
    configuration.tls.anchors = SecCertificate::listFromPEM(Data(authority.certificate().pem()));
    session = makeSession(std::move(configuration));
  }

  CertificateAuthority authority{"Test Root"};
  TestServer secure{Tls(authority.issue(CertificateRequest::localhost()))};
};

TEST_F(SecureTaskMetricsTest, tellOfTheHandshake) {
  secure.enqueue(MockResponse(200).closeConnection());
  secure.enqueue(MockResponse(200));

  const auto whole = metricsOf(secure.url());
  const auto resumed = metricsOf(secure.url());

  const TransactionMetrics& first = whole->transactions.at(0);
  EXPECT_TRUE(first.secure);
  EXPECT_EQ(first.connection->tlsVersion, "TLSv1.3");
  EXPECT_THAT(first.connection->tlsCipher, StartsWith("TLS_"));
  EXPECT_FALSE(first.connection->isTLSResumed);
  EXPECT_TRUE(resumed->transactions.at(0).connection->isTLSResumed);
  expectOrder(*whole);
}

TEST_F(SecureTaskMetricsTest, tellOfAHandshakeThatFails) {
  session = makeSession();
  const auto metrics = metricsOf(secure.url());
  secure.takeFailures();

  const TransactionMetrics& only = metrics->transactions.at(0);
  ASSERT_TRUE(only.secure);
  EXPECT_EQ(only.secure->end, only.time.end);
  EXPECT_EQ(only.connection->remoteAddress.port, secure.port());
  EXPECT_EQ(only.connection->tlsVersion, "");
  EXPECT_FALSE(only.request);
}

}  // namespace
}  // namespace platform
